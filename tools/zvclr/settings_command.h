// The command that lets the user choose parameters in a settings dialog of the library.
#ifndef ZVCLR_TOOLS_SETTINGS_COMMAND_H
#define ZVCLR_TOOLS_SETTINGS_COMMAND_H

#include <cstdint>
#include <string>
#include <vector>

#include "zvclr.h"

namespace zvtool {

/// The command line of `zvclr settings`.
struct SettingsArguments {
    std::string dialog;   ///< "cmyk" or "lab"
    std::string format;   ///< "options", "json", or empty for both
    uint64_t parent = 0;  ///< number of a window, or 0
};

struct ConvertOptions {
    std::vector<std::string> words;
    std::vector<std::string> notes;  ///< what the words leave out, and why
};

/// What a dialog has left in a record, as options of `zvclr convert`. Records of the CMYK dialog have cmykParams.
ConvertOptions convertOptions(const ClrParams& params);
/// One line that a shell takes apart into these words.
std::string shellLine(const std::vector<std::string>& words);
/// The same record for programs, field by field.
std::string settingsJson(const ClrParams& params);

/// Shows the dialog and prints what was chosen. Throws ImageError.
void runSettings(const SettingsArguments& arguments);

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_SETTINGS_COMMAND_H
