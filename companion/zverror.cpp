#include "zverror.h"

#include <array>
#include <cstddef>

#include "result_list.h"

namespace {

struct Result {
    int32_t code;
    const char* name;
    const char* meaning;
    const char* cause;
};

#define ZVCLR_RESULT_ENTRY(code, meaning, cause) Result{code, #code, meaning, cause},
constexpr std::array kResults = {ZVCLR_RESULTS(ZVCLR_RESULT_ENTRY)};
#undef ZVCLR_RESULT_ENTRY

// Zero is no enumerator, yet Zv_ClrConvert returns it in two cases.
constexpr Result kZero = {
    0, "unknown result",
    "The platform's colour management failed, or a YCCK source was converted with the built-in "
    "method through a converter.",
    "With a YCCK source the image has been written and can be used; otherwise check the profiles."};

constexpr Result kUnknown = {0, "unknown result", "The number is no result code of the library.",
                             "The value comes from elsewhere, or from a newer version of the library than this list."};

const Result& Find(int32_t code) {
    for (const Result& result : kResults) {
        if (result.code == code) {
            return result;
        }
    }
    return code == 0 ? kZero : kUnknown;
}

}  // namespace

const char* ZvErrorName(int32_t code) { return Find(code).name; }

const char* ZvErrorMeaning(int32_t code) { return Find(code).meaning; }

const char* ZvErrorCause(int32_t code) { return Find(code).cause; }

int32_t ZvErrorEntry(int32_t index, int32_t* code, const char** name, const char** meaning, const char** cause) {
    if (index < 0 || static_cast<std::size_t>(index) >= kResults.size()) {
        return 0;
    }
    const Result& result = kResults[static_cast<std::size_t>(index)];
    if (code != nullptr) {
        *code = result.code;
    }
    if (name != nullptr) {
        *name = result.name;
    }
    if (meaning != nullptr) {
        *meaning = result.meaning;
    }
    if (cause != nullptr) {
        *cause = result.cause;
    }
    return 1;
}
