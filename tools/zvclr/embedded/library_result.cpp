#include "library_result.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

#include "zverror.h"

namespace zvembed {

namespace {

bool isUtf8(const std::string& name) {
    try {
        static_cast<void>(std::filesystem::path(name).u32string());
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

}  // namespace

std::string libraryReason(int32_t result, const std::vector<std::string>& names) {
    // A name that cannot be converted has no code of its own.
    for (const std::string& name : names) {
        if (result == ERR_FAILURE && !isUtf8(name)) {
            return fmt::format("the name {} is no UTF-8, and the library takes no other names", name);
        }
    }
    return result < 0 ? fmt::format("{} ({})", ZvErrorMeaning(result), ZvErrorName(result)) : "memory has run out";
}

}  // namespace zvembed
