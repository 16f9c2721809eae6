// Modules that tests load for the library to look for data blocks in.
#pragma once

#include "host/platform.h"
#include "zvclr.h"

#ifndef _WIN32
#    include <dlfcn.h>
#endif

namespace zv::test {

/// A module loaded for a test; the library looks into its own again at the end.
class LoadedModule {
public:
#ifdef _WIN32
    explicit LoadedModule(const char* file) : handle_(LoadLibraryA(file)) {}
    ~LoadedModule() {
        SetResModule(nullptr);
        if (handle_ != nullptr) FreeLibrary(static_cast<HMODULE>(handle_));
    }
#else
    explicit LoadedModule(const char* file) : handle_(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {}
    ~LoadedModule() {
        SetResModule(nullptr);
        if (handle_ != nullptr) dlclose(handle_);
    }
#endif
    LoadedModule(const LoadedModule&) = delete;
    LoadedModule& operator=(const LoadedModule&) = delete;

    void* Handle() const { return handle_; }

private:
    void* handle_;
};

}  // namespace zv::test
