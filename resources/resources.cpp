#include "resources/resources.h"

// Type, id, size and bytes of each block, in the order of the ids.
const ZvModuleResource zvclrOwnResources[] = {
    {nullptr, 0, 0, nullptr},
};
