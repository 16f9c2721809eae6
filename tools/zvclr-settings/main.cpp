// zvclr-settings: shows a settings dialog for the library and hands the choices back.
#include <fcntl.h>
#include <sys/socket.h>
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
void onMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
    // Warnings are about the desktop; the program that waits for the choices has its own use for this stream.
    if (type == QtFatalMsg || type == QtCriticalMsg) std::fprintf(stderr, "zvclr-settings: %s\n", qPrintable(text));
    if (type == QtFatalMsg) std::_Exit(kFailed);
}

bool hasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(name)) return true;
    }
    return false;
}

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        QStringLiteral("Shows a settings dialog for the zvclr library, which starts this program itself. By hand, use "
                       "\"zvclr settings\"."));
    parser.addPositionalArgument(QStringLiteral("dialog"), QStringLiteral("cmyk or lab"));
    parser.addOption({QStringLiteral("parent"), QStringLiteral("Window that the dialog belongs to."),
                      QStringLiteral("number"), QStringLiteral("0")});
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
    request.parentWindow = parser.value(QStringLiteral("parent")).toULongLong(&isWindow, 0);
    request.replyTo = parser.value(QStringLiteral("reply-to")).toInt(&isDescriptor);
    if (dialogs.size() != 1 || !isWindow || !isDescriptor || request.replyTo < 0) return std::nullopt;
    if (dialogs.constFirst() == QLatin1String("cmyk")) {
        request.dialog = zv::ClrDialog::kCmyk;
    } else if (dialogs.constFirst() == QLatin1String("lab")) {
        request.dialog = zv::ClrDialog::kLab;
    } else {
        return std::nullopt;
    }
    return request;
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
    return sendReply(request.replyTo, zv::MakeReply(request.dialog, state)) ? kDone : kFailed;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication::setApplicationName(QStringLiteral("zvclr-settings"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZVCLR_VERSION_STRING));
    QCommandLineParser parser;
    describe(parser);
    QStringList arguments;
    for (int i = 0; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);
    const bool understood = parser.parse(arguments);
    if (!understood || parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("version"))) {
        const QCoreApplication application(argc, argv);
        parser.process(application);
    }
    const std::optional<Request> request = requestOf(parser);
    if (!request) {
        return complain(kUsage, "the zvclr library starts this program; by hand, use \"zvclr settings\"");
    }
    if (fcntl(request->replyTo, F_SETFD, FD_CLOEXEC) < 0) return complain(kUsage, "the descriptor is not open");
    if (!hasDisplay()) return complain(kFailed, "there is no display");
    qInstallMessageHandler(onMessage);
    const QApplication application(argc, argv);
    return show(*request);
}
