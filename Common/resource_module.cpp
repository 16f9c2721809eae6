// The module that resources and dialogs come from.
#include "Common/lookup.h"

namespace zv {

namespace {

// Constant-initialised: the library works before its own constructors have run.
constinit void* resourceModule = nullptr;

}  // namespace

void* ClrResourceModule() noexcept { return resourceModule; }

void SetClrResourceModule(void* module) noexcept { resourceModule = module; }

}  // namespace zv

void SetResModule(void* module) { zv::SetClrResourceModule(module); }
