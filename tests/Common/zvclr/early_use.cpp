// A program whose first constructor uses the library before the library's own has run, and whose last function sees
// that the end has released what was left. It has a host of its own, which counts blocks.
#ifndef _WIN32
#    include <dlfcn.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Common/lookup.h"
#include "Common/zvclr/frame.h"
#include "host/host.h"
#include "zvclr.h"

namespace {

constinit long liveBlocks = 0;

void* Count(void* block) {
    if (block != nullptr) ++liveBlocks;
    return block;
}

void Check(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "early_use: %s\n", what);
    std::_Exit(1);
}

}  // namespace

void* HostAlloc(int64_t size, int64_t count, int32_t, const ZvChar*) noexcept {
    return Count(std::malloc(static_cast<size_t>(size * count)));
}
void* HostAllocZeroed(int64_t size, int64_t count, int32_t, const ZvChar*) noexcept {
    return Count(std::calloc(static_cast<size_t>(count), static_cast<size_t>(size)));
}
void HostFree(void* block, int32_t, const ZvChar*) noexcept {
    if (block != nullptr) --liveBlocks;
    std::free(block);
}
void* HostRealloc(void* block, int64_t size, int32_t, const ZvChar*) noexcept {
    if (block == nullptr) return HostAlloc(size, 1, 0, nullptr);
    return std::realloc(block, static_cast<size_t>(size));
}
void* HostAllocShared(int64_t size, int64_t count, int32_t line, const ZvChar* file) noexcept {
    return HostAlloc(size, count, line, file);
}
void* HostReallocShared(void* block, int64_t size, int32_t line, const ZvChar* file) noexcept {
    return HostRealloc(block, size, line, file);
}
void HostFreeShared(void* block, int32_t line, const ZvChar* file) noexcept { HostFree(block, line, file); }
void HostCopy(void* destination, const void* source, size_t count) noexcept { std::memcpy(destination, source, count); }
void HostMove(void* destination, const void* source, size_t count) noexcept {
    std::memmove(destination, source, count);
}
void HostFill(void* destination, uint8_t value, size_t count) noexcept { std::memset(destination, value, count); }
const uint8_t* HostFind(const void*, uint8_t, size_t) noexcept { return nullptr; }
// A host without files, bitmaps and narrow characters.
HANDLE HostCreateFile(const ZvChar*, DWORD, DWORD, void*, DWORD, DWORD, HANDLE, int32_t, const ZvChar*) noexcept {
    return INVALID_HANDLE_VALUE;
}
void HostCloseFile(HANDLE, int32_t, const ZvChar*) noexcept {}
void HostFreeBitmap(HostBitmap*) noexcept {}
void HostDibToBitmap(HostBitmap*, uint32_t, const HostDibHeader*, const uint8_t*) noexcept {}
int32_t Zv_A2W::Convert(const char*, ZvChar*, size_t) noexcept { return ERR_FAILURE; }
int32_t Zv_W2A::Convert(const ZvChar*, char*, size_t) noexcept { return ERR_FAILURE; }
HostFile HostFileOpen(const ZvChar*, int32_t, int32_t) noexcept { return kNoHostFile; }
void HostFileClose(HostFile) noexcept {}
int32_t HostFileRead(HostFile, void*, int32_t) noexcept { return 0; }
int64_t HostFileSeek(HostFile, int64_t, int32_t) noexcept { return -1; }
int32_t HostFileReadMore(HostFile, void*, int32_t) noexcept { return 0; }
int32_t HostCompare(const void* first, const void* second, size_t count) noexcept {
    return std::memcmp(first, second, count);
}
int32_t HostFileInfo(const ZvChar*, HostImageInfo*, uint32_t, uint32_t, const void*) noexcept { return ERR_FAILURE; }
int32_t HostLoadMarkers(const ZvChar*, HostMarkers*, uint32_t) noexcept { return ERR_FAILURE; }
int32_t HostEnumMarkers(HostMarkers, uint32_t, HostMarkerCallback, void*) noexcept { return ERR_FAILURE; }
int32_t HostFreeMarkers(HostMarkers) noexcept { return ERR_FAILURE; }
int32_t HostCreateMarkers(HostMarkers*) noexcept { return ERR_FAILURE; }
int32_t HostInsertMarker(HostMarkers, int32_t, uint32_t, uint32_t, const uint8_t*) noexcept { return ERR_FAILURE; }
int32_t HostSetSaveMarkers(HostMarkers, uint32_t) noexcept { return ERR_FAILURE; }
int32_t HostRewriteFile(const ZvChar*, uint32_t, const SAVEFILEOPTION*) noexcept { return ERR_FAILURE; }
int32_t HostReadFileTag(const ZvChar*, uint32_t, uint16_t*, uint64_t*, uint8_t*, const void*) noexcept {
    return ERR_FAILURE;
}
int32_t HostSetFileTag(uint32_t, uint16_t, uint64_t, const uint8_t*) noexcept { return ERR_FAILURE; }
int32_t HostRewriteFileTags(const ZvChar*, const SAVEFILEOPTION*) noexcept { return ERR_FAILURE; }
int32_t SAVEFILEOPTION_Conv::Begin() noexcept {
    value_ = options_ != nullptr ? &wide_ : nullptr;
    return ERR_FAILURE;
}
Zv_A2W::~Zv_A2W() = default;
int32_t Zv_A2W::Convert(const char*) noexcept { return ERR_FAILURE; }

namespace {

/// Constructed before every object without a priority, the library's among them.
class EarlyUser {
public:
    EarlyUser() {
        Check(Zv_ClrInit(&converter_, CLRSPACE_YCCK, CLRSPACE_RGB, nullptr) == CLR_SUCCESS, "early creation failed");
        constexpr uint8_t kGrey[4] = {255, 128, 128, 127};
        uint8_t pixel[3] = {};
        Check(Zv_ClrConvert(converter_, kGrey, pixel, 1, 1, 0, 0) == 0 && pixel[1] == 128, "early conversion failed");
        uint8_t black[4] = {};
        constexpr uint8_t kNone[3] = {};
        Check(Zv_ClrConvertDirect(CLRSPACE_RGB, CLRSPACE_YCCK, kNone, black, 1, 1, 0, 0) == CLR_SUCCESS &&
                  black[0] == 255 && black[3] == 255,
              "early direct conversion failed");
        Check(Zv_ClrConvertDirect(CLRSPACE_CMYK, CLRSPACE_RGB, black, pixel, 1, 1, 0, 0) == CLR_SUCCESS,
              "early conversion from CMYK failed");
#ifndef _WIN32
        SetResModule(dlopen(nullptr, RTLD_NOW));  // the program itself, which carries no blocks
#endif
    }
    const ClrHandle* Converter() const { return converter_; }

private:
    ClrHandle* converter_ = nullptr;  // left alive: the end of the program releases it
};

[[gnu::init_priority(101)]] const EarlyUser earlyUser;

#ifndef _WIN32
/// Runs after every destructor without a priority, the library's among them.
[[gnu::destructor(101)]] void SeeThatNothingIsLeft() {
    Check(zv::RegisteredCount() == 0, "a converter outlived the program");
    Check(liveBlocks == 0, "blocks outlived the program");
}
#endif

}  // namespace

int main() {
    Check(Zv_ClrIsValid(earlyUser.Converter()) == CLR_SUCCESS, "the attach lost a converter");
    Check(zv::RegisteredCount() == 1, "the attach changed the list");
#ifndef _WIN32
    Check(zv::FindClrResource(ZV_WIDE("ICM"), 105).data == nullptr && GetLastError() == ERROR_RESOURCE_DATA_NOT_FOUND,
          "the attach lost the module that was chosen before it");
    SetResModule(nullptr);
#endif
    constexpr uint16_t kProfiles[] = {105, 106, 107, 110};
    for (const uint16_t id : kProfiles) {
        Check(zv::FindClrResource(ZV_WIDE("ICM"), id).data != nullptr, "a built-in profile is missing");
    }
    ClrHandle* second = nullptr;
    Check(Zv_ClrInit(&second, CLRSPACE_RGB, CLRSPACE_LAB, nullptr) == CLR_SUCCESS, "creation failed");
    Check(zv::RegisteredCount() == 2 && liveBlocks == 5, "the list does not hold both converters");
    std::puts("early_use: passed");
    return 0;
}
