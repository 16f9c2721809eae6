// Texts in several languages.
#ifndef ZVCLR_TOOLS_PROFILE_LOCALIZED_H
#define ZVCLR_TOOLS_PROFILE_LOCALIZED_H

#include <optional>
#include <string>
#include <vector>

#include "cursor.h"
#include "zvicc.h"

namespace zvinfo {

struct Localized {
    std::string language;  ///< "en-US"
    std::string text;
};

/// Nothing when the record holds more than one language, of which it has the text of the last only.
std::optional<std::vector<Localized>> localizedOf(const ClrIccTagMultiLocalized& record);
/// All languages of a "mluc" element, and where its last text ends. Nothing when fields point outside.
std::optional<std::vector<Localized>> localizedIn(Span body, size_t* end = nullptr);

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_LOCALIZED_H
