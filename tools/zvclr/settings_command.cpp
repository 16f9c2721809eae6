#include "settings_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "image/image.h"
#include "messages.h"
#include "profile/decode.h"
#include "strip_converter.h"
#include "zverror.h"

namespace zvtool {

using zvimage::ImageError;

namespace {

constexpr int32_t kCmykDialog = 1;
constexpr int32_t kLabDialog = 2;
constexpr uint32_t kDefaultWhite = 50;

constexpr struct {
    uint32_t flag;
    Method method;
} kMethods[] = {{CLRMETHOD_BUILTIN, Method::kBuiltin},
                {CLRMETHOD_ICC, Method::kIcc},
                {CLRMETHOD_CUSTOM_ICC, Method::kCustomIcc},
                {CLRMETHOD_EMULATION, Method::kEmulation},
                {CLRMETHOD_CUSTOM_EMULATION, Method::kCustomEmulation}};

std::optional<Method> methodOf(uint32_t flag) {
    const auto* const found =
        std::find_if(std::begin(kMethods), std::end(kMethods), [flag](const auto& row) { return row.flag == flag; });
    return found != std::end(kMethods) ? std::optional(found->method) : std::nullopt;
}

std::string utf8(const ZvChar (&name)[CLR_NAME_LENGTH]) {
    std::vector<uint8_t> bytes;
    for (const ZvChar unit : name) {
        bytes.push_back(static_cast<uint8_t>(unit >> 8));
        bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    }
    return zvinfo::fromUtf16(bytes);
}

/// A file of this name, whatever the command line would take the name for.
std::string fileWord(const std::string& name) {
    return name == "embedded" || name[0] == '-' ? fmt::format("./{}", name) : name;
}

class OptionWriter {
public:
    explicit OptionWriter(const ClrParams& params) : params_(params) {}

    ConvertOptions write() {
        const std::optional<Method> method = methodOf(params_.activeMethod);
        if (!method) {
            note(fmt::format("zvclr convert has no method {}", params_.activeMethod));
            return options_;
        }
        add("--method", methodName(*method));
        if (*method == Method::kBuiltin && params_.cmykParams != nullptr) {
            add("--gcr", std::to_string(params_.cmykParams->gcrLevel));
        }
        if (*method == Method::kCustomIcc) {
            addFile("--input-profile", params_.inputProfileName);
            addFile("--output-profile", params_.outputProfileName);
            if (params_.cmykParams == nullptr) {
                note(
                    "the profiles stand in the order of the dialog's fields, since \"RGB to LAB\" has no part in what "
                    "it hands back; exchange them if need be");
            }
        }
        if (*method == Method::kCustomEmulation) {
            addFile("--table", params_.emulationTableName);
        }
        if (*method == Method::kIcc || *method == Method::kCustomIcc) {
            addWhite(*method);
        }
        return options_;
    }

private:
    void add(const char* option, std::string value) {
        options_.words.emplace_back(option);
        options_.words.push_back(std::move(value));
    }

    void note(std::string text) { options_.notes.push_back(std::move(text)); }

    void addFile(const char* option, const ZvChar (&name)[CLR_NAME_LENGTH]) {
        const std::string file = utf8(name);
        if (file.empty()) {
            note(fmt::format("no file was chosen for {}, which this method needs; add it", option));
        } else {
            add(option, fileWord(file));
        }
    }

    void addWhite(Method method) {
        const uint32_t code = params_.whitePoint->whiteCode;
        if (code == 0) {
            note("of a custom white point the dialog hands back 0, 0, whatever was typed; add --white x,y");
        } else if (code != kDefaultWhite) {
            add("--white", fmt::format("D{}", code));
            if (method == Method::kIcc) {
                note("with this method zvclr convert takes --white to cmyk, cmy and lab only; leave it out elsewhere");
            }
        }
    }

    const ClrParams& params_;
    ConvertOptions options_;
};

/// Characters that no shell looks at, wherever they stand.
bool isPlain(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') ||
           std::string_view("_-./,:+@").find(letter) != std::string_view::npos;
}

bool isControl(char letter) { return static_cast<uint8_t>(letter) < ' ' || letter == '\x7f'; }

std::string shellWord(const std::string& word) {
    if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) {
        return word;
    }
    // Line breaks would cut the line in two.
    if (std::any_of(word.begin(), word.end(), isControl)) {
        std::string quoted = "$'";
        for (const char letter : word) {
            if (isControl(letter)) {
                quoted += fmt::format("\\{:03o}", static_cast<uint8_t>(letter));
            } else {
                quoted += letter == '\'' || letter == '\\' ? "\\" : "";
                quoted += letter;
            }
        }
        return quoted + "'";
    }
    std::string quoted = "'";
    for (const char letter : word) {
        quoted += letter == '\'' ? "'\\''" : std::string(1, letter);
    }
    return quoted + "'";
}

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != 0;
}

std::string nothingChosen() {
    std::string text = "nothing was chosen: the dialog was cancelled or could not be shown";
    if (!isSet("DISPLAY") && !isSet("WAYLAND_DISPLAY") && !isSet("QT_QPA_PLATFORM")) {
        text +=
            "; neither DISPLAY nor WAYLAND_DISPLAY is set, so that there is no screen. The program zvclr-settings must "
            "be installed too";
    }
    return text;
}

void print(const ClrParams& params, const std::string& format) {
    const ConvertOptions options = convertOptions(params);
    if (format != "json") {
        fmt::print("{}\n", shellLine(options.words));
        printNotes("options", options.notes);
    }
    if (format != "options") {
        fmt::print("{}", settingsJson(params));
    }
}

}  // namespace

ConvertOptions convertOptions(const ClrParams& params) { return OptionWriter(params).write(); }

std::string shellLine(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        line += line.empty() ? "" : " ";
        line += shellWord(word);
    }
    return line;
}

std::string settingsJson(const ClrParams& params) {
    nlohmann::ordered_json json;
    const std::optional<Method> method = methodOf(params.activeMethod);
    json["size"] = params.size;
    json["activeMethod"] = params.activeMethod;
    json["activeMethodName"] = method ? nlohmann::ordered_json(methodName(*method)) : nullptr;
    json["methods"] = params.methods;
    json["emulationMethod"] = params.emulationMethod;
    // By value: the record is byte-packed.
    const double x = params.whitePoint->x;
    const double y = params.whitePoint->y;
    json["whitePoint"] = {{"whiteCode", uint32_t{params.whitePoint->whiteCode}}, {"x", x}, {"y", y}};
    json["inputProfileName"] = utf8(params.inputProfileName);
    json["outputProfileName"] = utf8(params.outputProfileName);
    json["emulationTableName"] = utf8(params.emulationTableName);
    if (params.cmykParams != nullptr) {
        json["cmykParams"] = {{"size", params.cmykParams->size},
                              {"gcrLevel", params.cmykParams->gcrLevel},
                              {"mask", params.cmykParams->mask}};
    }
    return json.dump(2) + "\n";
}

void runSettings(const SettingsArguments& arguments) {
    const bool cmyk = arguments.dialog == "cmyk";
    ClrWhitePoint white = {};
    ClrCmykParams inks = {};
    ClrParams params = {};
    params.whitePoint = &white;
    params.cmykParams = cmyk ? &inks : nullptr;
    ClrHandle* converter = nullptr;
    // Without a converter the record has the profiles as the direction orders them; the CIELab dialog insists on one.
    const int32_t result = Zv_ClrDlg(cmyk ? kCmykDialog : kLabDialog, reinterpret_cast<void*>(arguments.parent),
                                     cmyk ? nullptr : &converter, &params);
    if (result == 0) {
        throw ImageError(nothingChosen());
    }
    if (result == CLR_SUCCESS && converter != nullptr) {
        Zv_ClrFree(converter);
    }
    if (params.activeMethod != 0) {
        print(params, arguments.format);
    }
    if (result != CLR_SUCCESS) {
        throw ImageError(fmt::format("no converter from rgb to {} can be made with these choices: {} ({}): {} {}",
                                     arguments.dialog, ZvErrorName(result), result, ZvErrorMeaning(result),
                                     ZvErrorCause(result)));
    }
}

}  // namespace zvtool
