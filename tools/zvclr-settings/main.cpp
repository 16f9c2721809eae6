// zvclr-settings: shows a settings dialog for the library and hands the choices back.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <QApplication>
#include <QCommandLineParser>
#include <QSocketNotifier>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "Common/dialogs/reply.h"

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2 };

const char* const kNoDisplay = "there is no display";

struct Request {
    zv::ClrDialog dialog;
    quint64 parentWindow;
    int replyTo;
};

int complain(ExitCode code, const char* text) {
    std::fprintf(stderr, "zvclr-settings: error: %s\n", text);
    return code;
}

/// Qt ends the program by a signal when it cannot open a window; a plain exit is enough.
void onMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    static QString reason;
    // Warnings are about the desktop; the program that waits for the choices has its own use for this stream.
    if (reason.isEmpty() && QLatin1String(context.category).startsWith(QLatin1String("qt.qpa"))) reason = text;
    if (type == QtCriticalMsg) complain(kFailed, qPrintable(text));
    if (type != QtFatalMsg) return;
    // Qt's last words are about plugins; its first ones tell why.
    complain(kFailed, qPrintable((reason.isEmpty() ? text : reason).section(QLatin1Char('\n'), 0, 0)));
    std::_Exit(kFailed);
}

/// Platforms of Qt without a window that a person sees: nobody could end the dialog.
bool isUnseen(const QString& platform) {
    static const QStringList unseen = {QStringLiteral("offscreen"), QStringLiteral("minimal"),
                                       QStringLiteral("minimalegl"), QStringLiteral("vnc")};
    return unseen.contains(platform.section(QLatin1Char(':'), 0, 0), Qt::CaseInsensitive);
}

bool hasDisplay() {
    const QString platform = qEnvironmentVariable("QT_QPA_PLATFORM");
    if (!platform.isEmpty()) return !isUnseen(platform);
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        QStringLiteral("Shows a settings dialog for the zvclr library, which starts this program itself. By hand, use "
                       "\"zvclr settings\"."));
    parser.addPositionalArgument(QStringLiteral("dialog"), QStringLiteral("cmyk or lab"));
    parser.addOption({QLatin1String(zv::kClrHelperParent), QStringLiteral("Window that the dialog belongs to."),
                      QStringLiteral("number"), QStringLiteral("0")});
    parser.addOption({QLatin1String(zv::kClrHelperVersion), QStringLiteral("Version of the library that asks."),
                      QStringLiteral("version"), QStringLiteral(ZVCLR_VERSION_STRING)});
    parser.addOption({QStringLiteral("reply-to"), QStringLiteral("Descriptor of the socket that the choices go to."),
                      QStringLiteral("descriptor")});
    parser.addHelpOption();
    parser.addVersionOption();
}

std::optional<Request> requestOf(const QCommandLineParser& parser) {
    const QStringList dialogs = parser.positionalArguments();
    bool isWindow = false;
    bool isDescriptor = false;
    Request request = {};
    request.parentWindow = parser.value(QLatin1String(zv::kClrHelperParent)).toULongLong(&isWindow, 0);
    request.replyTo = parser.value(QStringLiteral("reply-to")).toInt(&isDescriptor);
    if (dialogs.size() != 1 || !isWindow || !isDescriptor || request.replyTo < 0) return std::nullopt;
    // Windows of X11 have numbers of 32 bits; what has more is none of them.
    if (request.parentWindow > UINT32_MAX) request.parentWindow = 0;
    for (const zv::ClrDialog dialog : {zv::ClrDialog::kCmyk, zv::ClrDialog::kLab}) {
        request.dialog = dialog;
        if (dialogs.constFirst() == QLatin1String(zv::ClrHelperWord(dialog))) return request;
    }
    return std::nullopt;
}

bool isSocket(int descriptor) {
    struct stat status;
    return fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
}

bool sendReply(int socket, const zv::ClrDlgReply& reply) {
    const char* bytes = reinterpret_cast<const char*>(&reply);
    size_t left = sizeof reply;
    while (left > 0) {
        const ssize_t count = send(socket, bytes, left, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) return false;
        if (count < 0) continue;
        bytes += count;
        left -= static_cast<size_t>(count);
    }
    return true;
}

int show(const Request& request) {
    zv::ClrDlgState state;
    zv::ClrBeginDialog(request.dialog, &state);
    // Nothing is ever sent here: readable means that whoever asked is gone.
    const QSocketNotifier gone(request.replyTo, QSocketNotifier::Read);
    QObject::connect(&gone, &QSocketNotifier::activated, [] { std::_Exit(kFailed); });
    if (!zv::ClrRunDialog(request.dialog, reinterpret_cast<void*>(request.parentWindow), &state)) return kDone;
    const bool sent = sendReply(request.replyTo, zv::MakeReply(request.dialog, state));
    // The other program waits for the end of this one, so nothing may hold it up.
    std::_Exit(sent ? kDone : kFailed);
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication::setApplicationName(QLatin1String(zv::kClrHelperProgram));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZVCLR_VERSION_STRING));
    QCommandLineParser parser;
    describe(parser);
    QStringList arguments;
    for (int i = 0; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);
    if (!parser.parse(arguments)) return complain(kUsage, qPrintable(parser.errorText()));
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("version"))) {
        const QCoreApplication application(argc, argv);
        parser.process(application);
    }
    const std::optional<Request> request = requestOf(parser);
    if (!request) {
        return complain(kUsage, "the zvclr library starts this program; by hand, use \"zvclr settings\"");
    }
    if (!isSocket(request->replyTo)) return complain(kUsage, "the descriptor for the reply is no open socket");
    fcntl(request->replyTo, F_SETFD, FD_CLOEXEC);
    if (parser.value(QLatin1String(zv::kClrHelperVersion)) != QLatin1String(ZVCLR_VERSION_STRING)) {
        return complain(kFailed, "the library is of another version than this program, " ZVCLR_VERSION_STRING);
    }
    if (!hasDisplay()) return complain(kFailed, kNoDisplay);
    qInstallMessageHandler(onMessage);
    const QApplication application(argc, argv);
    // What was asked for may be a list, of which Qt takes what works.
    if (isUnseen(QGuiApplication::platformName())) return complain(kFailed, kNoDisplay);
    return show(*request);
}
