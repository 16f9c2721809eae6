// Profile images: into the record and out of it, in memory and in files.
#include "Common/IccProfile/profile.h"
#include "host/memory.h"

namespace zv {

namespace {

constexpr uint32_t kOldestVersion = 0x04000000;
constexpr uint32_t kFileVersions[] = {0x04000000, 0x04200000};
constexpr uint64_t kVersionEnd = 12;
constexpr LONG kVersionGap = 4;  // from the size field to the version

/// An open file of the host's, closed on every way out unless it is to stay open.
class ProfileFile {
public:
    explicit ProfileFile(HANDLE handle) noexcept : handle_(handle) {}
    ~ProfileFile() {
        if (IsOpen()) HostCloseFile(handle_, __LINE__, kIccSource);
    }
    ProfileFile(const ProfileFile&) = delete;
    ProfileFile& operator=(const ProfileFile&) = delete;

    bool IsOpen() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
    /// False for a short read too.
    bool Read(void* buffer, uint32_t count) noexcept {
        DWORD done = 0;
        return ReadFile(handle_, buffer, count, &done, nullptr) && done == count;
    }
    bool Write(const void* buffer, uint64_t count) noexcept {
        if (count > UINT32_MAX || (buffer == nullptr && count != 0)) return false;
        DWORD done = 0;
        return WriteFile(handle_, buffer, static_cast<DWORD>(count), &done, nullptr) && done == count;
    }
    bool Seek(LONG distance, DWORD origin) noexcept {
        LONG high = distance < 0 ? -1 : 0;
        return SetFilePointer(handle_, distance, &high, origin) != INVALID_SET_FILE_POINTER || GetLastError() == 0;
    }
    /// Moves to the end.
    bool Length(uint64_t* length) noexcept {
        LONG high = 0;
        const DWORD low = SetFilePointer(handle_, 0, &high, FILE_END);
        if (low == INVALID_SET_FILE_POINTER && GetLastError() != 0) return false;
        *length = uint64_t{static_cast<uint32_t>(high)} << 32 | low;
        return true;
    }
    void KeepOpen() noexcept { handle_ = INVALID_HANDLE_VALUE; }

private:
    HANDLE handle_;
};

uint8_t* NewImage(uint64_t size) noexcept {
    return static_cast<uint8_t*>(HostAllocShared(static_cast<int64_t>(size), 1, __LINE__, kIccSource));
}

/// The record is laid out as the image is, so that one way serves both. Reserved bytes are left.
void SwapHeader(uint8_t* to, const uint8_t* from) noexcept {
    IccSwapCopy<uint32_t>(to, from, 6);
    IccSwapCopy<uint16_t>(to + 24, from + 24, 6);
    IccSwapCopy<uint32_t>(to + 36, from + 36, 5);
    IccSwapCopy<uint64_t>(to + 56, from + 56, 1);
    IccSwapCopy<uint32_t>(to + 64, from + 64, 5);
    HostCopy(to + 84, from + 84, sizeof(ClrIccHeader::profileId));
}

void ReadHeader(ClrIccHeader* header, const uint8_t* image) noexcept {
    SwapHeader(reinterpret_cast<uint8_t*>(header), image);
    header->attributes = static_cast<uint32_t>(header->attributes);  // the upper half belongs to the device's maker
    HostCopy(header->reserved, image + offsetof(ClrIccHeader, reserved), sizeof header->reserved);
}

int32_t ReadTags(ClrIccProfile* profile, IccBytes image, int32_t count) noexcept {
    const uint64_t tableBytes = uint64_t{kIccTagEntrySize} * static_cast<uint32_t>(count);
    const uint64_t dataOffset = kIccTagTableOffset + tableBytes;
    const uint32_t imageSize = profile->header->size;
    if (imageSize < dataOffset || !image.Has(0, imageSize)) return ERR_BAD_PROFILE;
    for (int32_t i = 0; i < count; ++i) {
        const uint8_t* entry = image.At(kIccTagTableOffset + uint64_t{kIccTagEntrySize} * static_cast<uint32_t>(i));
        if (IccEndsTable(IccLoad<ClrIccTagEntry>(entry))) return ERR_BAD_PROFILE;
    }

    // Without tags the pointers were stale.
    if (profile->tagCount == 0) profile->tagData = nullptr;
    profile->tagCount = count;
    profile->tagTable =
        static_cast<ClrIccTagEntry*>(IccAlloc(static_cast<uint64_t>(IccTableBytes(count)), 1, __LINE__));
    if (profile->tagTable == nullptr) return ERR_FAILURE;
    IccSwapCopy<uint32_t>(profile->tagTable, image.At(kIccTagTableOffset), tableBytes / sizeof(uint32_t));
    IccEndTable(profile->tagTable, count);
    profile->tagDataSize = imageSize - dataOffset;
    profile->tagData = IccNewCopy<uint8_t>(image.At(dataOffset), profile->tagDataSize, __LINE__);
    if (profile->tagData == nullptr) {
        profile->tagDataSize = 0;
        return ERR_FAILURE;
    }
    return CLR_SUCCESS;
}

/// A profile of a version that is not taken apart.
int32_t KeepImage(ClrIccProfile* profile, const uint8_t* image, uint32_t size) noexcept {
    uint8_t* copy = NewImage(size);
    if (copy == nullptr) return ERR_FAILURE;
    HostCopy(copy, image, size);
    profile->profileSize = size;
    profile->profileData = copy;
    return CLR_SUCCESS;
}

bool IsParsedFromFile(uint32_t version) noexcept { return version == kFileVersions[0] || version == kFileVersions[1]; }

/// profileData always has as many bytes as profileSize says: whoever writes it out relies on that.
int32_t GrowImage(ClrIccProfile* profile, uint64_t oldSize) noexcept {
    if (profile->profileData == nullptr || profile->profileSize <= oldSize) return CLR_SUCCESS;
    auto* image = static_cast<uint8_t*>(
        HostReallocShared(profile->profileData, static_cast<int64_t>(profile->profileSize), __LINE__, kIccSource));
    if (image == nullptr) {
        profile->profileSize = oldSize;
        return ERR_FAILURE;
    }
    HostFill(image + oldSize, 0, profile->profileSize - oldSize);
    profile->profileData = image;
    return CLR_SUCCESS;
}

/// Whether the tags are what tagCount and tagDataSize say.
bool TagsAreThere(const ClrIccProfile* profile) noexcept {
    if (profile->tagCount == 0) return profile->tagDataSize == 0;
    return profile->tagTable != nullptr && profile->tagData != nullptr && IccTableLength(profile) == profile->tagCount;
}

}  // namespace

void IccHeaderToImage(uint8_t* image, const ClrIccHeader* header) noexcept {
    SwapHeader(image, reinterpret_cast<const uint8_t*>(header));
}

void IccTagTableToImage(uint8_t* table, uint8_t* count, const ClrIccTagEntry* entries, int32_t tagCount) noexcept {
    const auto words = uint64_t{static_cast<uint32_t>(tagCount)} * (kIccTagEntrySize / sizeof(uint32_t));
    IccSwapCopy<uint32_t>(table, entries, words);
    IccSwapCopy<uint32_t>(count, &tagCount, 1);
}

}  // namespace zv

using namespace zv;

int32_t Zv_FillICCProfileStructure(ClrIccProfile* profile, const void* bytes, uint64_t size) {
    if (bytes == nullptr || profile == nullptr || size == 0) return ERR_INVALID_PARAMETER;
    const auto imageSize = static_cast<uint32_t>(size);
    if (!IccReadable(bytes, imageSize)) return ERR_INVALID_PARAMETER;
    profile->profileSize = imageSize;
    profile->profileData = NewImage(imageSize);
    if (profile->profileData == nullptr) return ERR_FAILURE;
    HostCopy(profile->profileData, bytes, imageSize);
    if (profile->header == nullptr) {
        profile->header = static_cast<ClrIccHeader*>(IccAllocZeroed(kIccHeaderSize, 1, __LINE__));
        if (profile->header == nullptr) return ERR_FAILURE;
    }

    const IccBytes image(profile->profileData, imageSize);
    if (!image.Has(0, kVersionEnd)) return ERR_BAD_PROFILE;
    profile->header->size = IccReadU32(image.At(0));
    profile->header->cmmType = IccReadU32(image.At(4));
    profile->header->version = IccReadU32(image.At(8));
    if (profile->header->version < kOldestVersion) return ERR_BAD_PROFILE;
    if (!image.Has(0, kIccTagTableOffset)) return ERR_BAD_PROFILE;
    ReadHeader(profile->header, image.At(0));

    const auto count = static_cast<int32_t>(IccReadU32(image.At(kIccTagCountOffset)));
    if (count >= 1) return ReadTags(profile, image, count);
    if (count < 0 && profile->tagCount == 0) {
        // A count that is not 0 would bring stale pointers to life.
        profile->tagTable = nullptr;
        profile->tagData = nullptr;
    }
    profile->tagCount = count;
    return CLR_SUCCESS;
}

int32_t Zv_FillICCProfileFromICCFile(const ZvChar* fileName, ClrIccProfile* profile) {
    if (fileName == nullptr || profile == nullptr) return ERR_INVALID_PARAMETER;
    ProfileFile file(HostCreateFile(fileName, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr, __LINE__, kIccSource));
    if (!file.IsOpen()) return ERR_FILE_OPEN;
    uint8_t word[4];
    if (!file.Read(word, sizeof word)) return ERR_FILE_READ;
    const uint32_t size = IccReadU32(word);
    if (size == 0) return ERR_BAD_PROFILE;
    if (!file.Seek(kVersionGap, FILE_CURRENT) || !file.Read(word, sizeof word)) return ERR_FILE_READ;
    const uint32_t version = IccReadU32(word);
    uint64_t length = 0;
    if (!file.Length(&length) || length < size || !file.Seek(0, FILE_BEGIN)) return ERR_FILE_READ;

    auto* block = static_cast<uint8_t*>(IccAlloc(size, 1, __LINE__));
    if (block == nullptr) return ERR_FAILURE;
    int32_t result = ERR_FILE_READ;
    if (file.Read(block, size)) {
        if (IsParsedFromFile(version)) {
            result = Zv_FillICCProfileStructure(profile, block, size);
        } else {
            result = KeepImage(profile, block, size);
            if (result != CLR_SUCCESS) {
                // Nothing is unwound here: file and block stay with the process.
                file.KeepOpen();
                return result;
            }
        }
    }
    HostFree(block, __LINE__, kIccSource);
    return result;
}

int32_t Zv_GenerateICCPointer(ClrIccProfile* profile) {
    if (profile == nullptr || profile->header == nullptr) return ERR_INVALID_PARAMETER;
    // Such an image can be read, and its size would be gigabytes.
    if (profile->tagCount < 0) return ERR_BAD_PROFILE;
    const uint64_t oldSize = profile->profileSize;
    const uint64_t size = IccTagDataOffset(profile->tagCount) + profile->tagDataSize;
    profile->profileSize = size;
    if (profile->header->size != static_cast<uint32_t>(size) || !TagsAreThere(profile)) {
        const int32_t grown = GrowImage(profile, oldSize);
        return grown == CLR_SUCCESS ? ERR_BAD_PROFILE : grown;
    }
    if (profile->profileData != nullptr) HostFreeShared(profile->profileData, __LINE__, kIccSource);
    profile->profileData = NewImage(size);
    if (profile->profileData == nullptr) return ERR_FAILURE;

    // What a failed scratch block leaves is no memory of anybody else's.
    uint8_t* image = profile->profileData;
    HostFill(image, 0, size);
    const HostBlock<uint8_t> header(kIccHeaderSize, __LINE__, kIccSource);
    if (!header) return ERR_FAILURE;
    HostFill(header.Data(), 0, kIccHeaderSize);
    IccHeaderToImage(header.Data(), profile->header);
    HostCopy(image, header.Data(), kIccHeaderSize);

    const uint64_t tableBytes = uint64_t{kIccTagEntrySize} * static_cast<uint32_t>(profile->tagCount);
    const HostBlock<uint8_t> table(static_cast<int64_t>(tableBytes), __LINE__, kIccSource);
    if (!table) return ERR_FAILURE;
    IccTagTableToImage(table.Data(), image + kIccTagCountOffset, profile->tagTable, profile->tagCount);
    HostCopy(image + kIccTagTableOffset, table.Data(), tableBytes);
    if (profile->tagDataSize != 0) {
        HostCopy(image + kIccTagTableOffset + tableBytes, profile->tagData, profile->tagDataSize);
    }
    return CLR_SUCCESS;
}

int32_t Zv_GenerateICCFile(const ClrIccProfile* profile, const ZvChar* fileName) {
    if (profile == nullptr || fileName == nullptr) return ERR_INVALID_PARAMETER;
    ProfileFile file(HostCreateFile(fileName, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr, __LINE__, kIccSource));
    if (!file.IsOpen()) return ERR_FILE_OPEN;
    return file.Write(profile->profileData, profile->profileSize) ? CLR_SUCCESS : ERR_FILE_WRITE;
}

uint32_t Zv_GetICCTagTypeSig(const ClrIccProfile* profile, uint32_t tagSignature) {
    if (profile == nullptr) return 0;
    const int32_t index = IccFindTag(profile, tagSignature);
    uint64_t place = 0;
    if (index == kIccNoTag || !IccFindBody(profile, profile->tagTable[index], &place)) return 0;
    if (profile->tagTable[index].size < sizeof(uint32_t)) return 0;
    return IccReadU32(profile->tagData + place);
}
