// Opening and closing profiles.
#include <algorithm>

#include "Common/Zviccio/bytes.h"
#include "Common/Zviccio/profile.h"
#include "Common/Zviccio/tag_stream.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\Zviccio");

constexpr size_t kHeaderSize = 128;
constexpr size_t kDirectoryEntrySize = 12;
constexpr uint32_t kMagic = Signature("acsp");

CmmProfile* AllocProfile() noexcept {
    auto* profile = static_cast<CmmProfile*>(HostAllocZeroed(sizeof(CmmProfile), 1, __LINE__, kSource));
    if (profile != nullptr) profile->file = kNoHostFile;
    return profile;
}

/// Neither size, version nor platform are looked at.
bool ReadHeader(TagStream& stream, CmmProfile& profile) noexcept {
    uint8_t header[kHeaderSize];
    if (!stream.Read(header, sizeof header) || BigEndian32(header + 36) != kMagic) return false;
    profile.deviceClass = BigEndian32(header + 12);
    profile.colorSpace = BigEndian32(header + 16);
    profile.pcs = BigEndian32(header + 20);
    profile.renderingIntent = BigEndian32(header + 64);
    for (int i = 0; i < 3; ++i) profile.illuminant[i] = S15Fixed16(header + 68 + 4 * i);
    return true;
}

/// No tags, or a negative number of them, are no error.
bool ReadDirectory(TagStream& stream, CmmProfile& profile) noexcept {
    uint8_t count[4];
    if (!stream.Read(count, sizeof count)) return false;
    profile.tagCount = static_cast<int32_t>(BigEndian32(count));
    if (profile.tagCount > kProfileTagCapacity) return false;
    for (int32_t i = 0; i < profile.tagCount; ++i) {
        uint8_t entry[kDirectoryEntrySize];
        if (!stream.Read(entry, sizeof entry)) return false;
        profile.tagSignature[i] = BigEndian32(entry);
        profile.tagOffset[i] = BigEndian32(entry + 4);
        profile.tagSize[i] = BigEndian32(entry + 8);
    }
    return true;
}

/// The profile, or null with the profile closed.
CmmProfile* ReadFront(CmmProfile* profile) noexcept {
    TagStream stream(*profile);
    if (ReadHeader(stream, *profile) && ReadDirectory(stream, *profile)) return profile;
    CmmCloseProfile(profile);
    return nullptr;
}

}  // namespace

CmmProfile* CmmOpenProfileFromMemory(const void* block, size_t size) noexcept {
    if (block == nullptr) return nullptr;
    CmmProfile* profile = AllocProfile();
    if (profile == nullptr) return nullptr;
    profile->fromMemory = 1;
    profile->block = static_cast<uint8_t*>(HostAlloc(1, static_cast<int64_t>(size), __LINE__, kSource));
    if (profile->block == nullptr) {
        CmmCloseProfile(profile);
        return nullptr;
    }
    HostCopy(profile->block, block, size);
    profile->blockSize = size;
    profile->cursor = profile->block;
    return ReadFront(profile);
}

CmmProfile* CmmOpenProfileFromFile(const ZvChar* name) noexcept {
    if (name == nullptr) return nullptr;
    const HostFile file = HostFileOpen(name, 0, kHostFileRead);
    if (file == kNoHostFile) return nullptr;
    CmmProfile* profile = AllocProfile();
    if (profile == nullptr) {
        HostFileClose(file);
        return nullptr;
    }
    profile->file = file;
    for (int32_t i = 0; i < kProfileNameLength - 1 && name[i] != 0; ++i) profile->fileName[i] = name[i];
    return ReadFront(profile);
}

int32_t CmmCloseProfile(CmmProfile* profile) noexcept {
    if (profile == nullptr) return 0;
    if (profile->file != kNoHostFile) {
        HostFileClose(profile->file);
    } else {
        const int32_t count = std::min(profile->tagCount, kProfileTagCapacity);
        for (int32_t i = 0; i < count; ++i) {
            if (profile->tagData[i] != nullptr) HostFree(profile->tagData[i], __LINE__, kSource);
        }
    }
    if (profile->block != nullptr) HostFree(profile->block, __LINE__, kSource);
    HostFree(profile, __LINE__, kSource);
    return 1;
}

}  // namespace zv
