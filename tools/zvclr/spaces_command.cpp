#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "convert.h"

namespace zvtool {

std::string spacesTable() {
    size_t bytesWidth = 5;
    for (const zvimage::Space& space : zvimage::allSpaces()) {
        bytesWidth = std::max(bytesWidth, std::strlen(space.bytes));
    }
    std::string table = fmt::format("{:<7} {:>3}  {:>4}  {:<8}  {:<{}}  {}\n", "name", "id", "bits", "multiple",
                                    "bytes", bytesWidth, "description");
    for (const zvimage::Space& space : zvimage::allSpaces()) {
        table += fmt::format("{:<7} {:>3}  {:>4}  {:<8}  {:<{}}  {}\n", space.name, space.id, space.bits,
                             fmt::format("{} x {}", space.widthMultiple, space.heightMultiple), space.bytes, bytesWidth,
                             space.description);
    }
    return table;
}

}  // namespace zvtool
