// A module that carries resources of its own, for systems whose modules have none by themselves.
#include "tests/support/resource_module.h"

#include "zvclr.h"

namespace {

constexpr char kProfile[] = ZV_TEST_PROFILE;
constexpr char kTable[] = ZV_TEST_TABLE;
constexpr char kOtherProfile[] = ZV_TEST_OTHER_PROFILE;

}  // namespace

extern "C" {
// The array's name is what a host looks up.
const ZvModuleResource zvclr_module_resources[] = {
    {u"ICM", 105, sizeof kProfile - 1, kProfile},
    {u"ET", 111, sizeof kTable - 1, kTable},
    {u"ICM", 900, sizeof kOtherProfile - 1, kOtherProfile},
    {nullptr, 0, 0, nullptr},
};
}
