// Texts in several languages.
#ifndef ZVCLR_TOOLS_PROFILE_LOCALIZED_H
#define ZVCLR_TOOLS_PROFILE_LOCALIZED_H

#include <optional>
#include <string>
#include <vector>

#include "decode.h"
#include "zvicc.h"

namespace zvinfo {

struct Localized {
    std::string language;  ///< "en-US"
    std::string text;
    std::string note;  ///< on what is left out of it
};

struct LocalizedTexts {
    std::vector<Localized> shown;
    uint64_t count = 0;  ///< of those that are not shown, too
    size_t end = 0;      ///< where the last text of an element ends
};

/// Nothing when the record holds more than one language, of which it has the text of the last only.
std::optional<LocalizedTexts> localizedOf(const ClrIccTagMultiLocalized& record);
/// The languages of a "mluc" element. Nothing when fields point outside.
std::optional<LocalizedTexts> localizedIn(Span body, const Style& style, TextBudget& budget);
/// The texts in a row; a note on those that are left out is the last of them.
Node localizedNode(const std::string& label, const LocalizedTexts& texts, const Style& style);

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_LOCALIZED_H
