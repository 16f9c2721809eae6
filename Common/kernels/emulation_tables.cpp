// Where emulation tables come from: the library's own data blocks, and a caller's file.
#include "Common/kernels/emulation.h"
#include "Common/kernels/kernels.h"
#include "Common/lookup.h"
#include "Common/names.h"
#include "host/host.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\kernels");

/// What serves a pair of spaces.
enum class TableKind { kNone, kCmykToHub, kHubToLab, kLabToHub };

TableKind KindOf(int32_t sourceId, int32_t destinationId) noexcept {
    if (sourceId == CLRSPACE_CMYK && ClrIsHub(destinationId)) return TableKind::kCmykToHub;
    if (ClrIsHub(sourceId) && destinationId == CLRSPACE_LAB) return TableKind::kHubToLab;
    if (sourceId == CLRSPACE_LAB && ClrIsHub(destinationId)) return TableKind::kLabToHub;
    return TableKind::kNone;
}

/// Null when the module in force has no such table, or one that is too short for its grid.
const EmulationTable* FindBuiltinTable(uint16_t id, uint32_t gridBytes) noexcept {
    const ClrResource resource = FindClrResource(ZV_WIDE("ET"), id);
    return resource.size >= gridBytes ? resource.data : nullptr;
}

void BindBuiltinTable(ClrHandle* converter, TableKind kind) noexcept {
    switch (kind) {
        case TableKind::kCmykToHub:
            converter->builtinEmulationTable = FindBuiltinTable(111, kCmykTableBytes);
            break;
        case TableKind::kLabToHub:
            converter->builtinEmulationTable = FindBuiltinTable(112, kLabGridBytes);
            break;
        case TableKind::kHubToLab:
            converter->builtinEmulationTable = FindBuiltinTable(113, kLabGridBytes);
            break;
        case TableKind::kNone:
            break;
    }
}

/// A little-endian baseline TIFF, as far as a table needs it. It closes itself.
class EmulationFile {
public:
    explicit EmulationFile(const ZvChar* name) noexcept
        : file_(HostCreateFile(name, GENERIC_READ, FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                               nullptr, __LINE__, kSource)) {}
    ~EmulationFile() {
        if (IsOpen()) HostCloseFile(file_, __LINE__, kSource);
    }
    EmulationFile(const EmulationFile&) = delete;
    EmulationFile& operator=(const EmulationFile&) = delete;

    bool IsOpen() const noexcept { return file_ != INVALID_HANDLE_VALUE; }

    bool Seek(uint64_t position) noexcept {
        auto high = static_cast<LONG>(position >> 32);
        const auto low = static_cast<LONG>(static_cast<uint32_t>(position & 0xFFFFFFFFU));
        return SetFilePointer(file_, low, &high, FILE_BEGIN) != INVALID_SET_FILE_POINTER || GetLastError() == 0;
    }
    /// As many bytes as there are.
    bool ReadUpTo(void* buffer, uint32_t count, DWORD* done) noexcept {
        return ReadFile(file_, buffer, count, done, nullptr) != FALSE;
    }
    /// All of it or nothing.
    template <class T>
    bool Read(T* value) noexcept {
        DWORD done = 0;
        if (!ReadUpTo(value, sizeof *value, &done)) return false;
        if (done == sizeof *value) return true;
        SetLastError(ERROR_HANDLE_EOF);
        return false;
    }

private:
    HANDLE file_;
};

/// What the directory says of the raster; a tag that is missing says 0.
struct EmulationRaster {
    uint32_t width;
    uint32_t length;
    uint32_t samples;
    uint32_t position;
    uint32_t photometric;  ///< read and not used

    /// No more than the largest grid has.
    uint32_t TableBytes() const noexcept {
        uint64_t bytes = uint64_t{width} * length;
        if (bytes > kCmykTableBytes) bytes = samples == 0 ? 0 : kCmykTableBytes;
        bytes *= samples;
        return bytes < kCmykTableBytes ? static_cast<uint32_t>(bytes) : uint32_t{kCmykTableBytes};
    }
};

enum TiffTag : uint16_t {
    kImageWidth = 256,
    kImageLength = 257,
    kPhotometric = 262,
    kStripOffsets = 273,
    kSamplesPerPixel = 277,
};

/// The field of a tag, or null for one that plays no part.
uint32_t* FieldOf(uint16_t tag, EmulationRaster* raster) noexcept {
    switch (tag) {
        case kImageWidth:
            return &raster->width;
        case kImageLength:
            return &raster->length;
        case kSamplesPerPixel:
            return &raster->samples;
        case kStripOffsets:
            return &raster->position;
        case kPhotometric:
            return &raster->photometric;
        default:
            return nullptr;
    }
}

/// The rest of an entry behind its tag. The value is taken as 32 bits whatever type and count say.
#pragma pack(push, 1)
struct TiffEntryRest {
    uint16_t type;
    uint32_t count;
    uint32_t value;
};
#pragma pack(pop)
static_assert(sizeof(TiffEntryRest) == 10);

bool ReadRaster(EmulationFile& file, EmulationRaster* raster) noexcept {
    constexpr uint32_t kEntryBytes = 12;
    uint32_t directory = 0;
    uint16_t entries = 0;
    if (!file.Seek(4) || !file.Read(&directory) || !file.Seek(directory) || !file.Read(&entries)) return false;
    for (uint32_t i = 0; i < entries; ++i) {
        uint16_t tag = 0;
        if (!file.Seek(uint64_t{directory} + 2 + kEntryBytes * i) || !file.Read(&tag)) return false;
        uint32_t* field = FieldOf(tag, raster);
        if (field == nullptr) continue;
        TiffEntryRest rest{};
        if (!file.Read(&rest)) return false;
        *field = rest.value;
    }
    return true;
}

/// The system's last error as a result that nobody takes for success.
int32_t LastFailure() noexcept {
    const auto error = static_cast<int32_t>(GetLastError());
    return error > CLR_SUCCESS ? error : static_cast<int32_t>(ERROR_GEN_FAILURE);
}

}  // namespace

int32_t ClrReadEmulationFile(const ZvChar* name, EmulationTable** table) noexcept {
    EmulationFile file(name);
    EmulationRaster raster{};
    if (!file.IsOpen() || !ReadRaster(file, &raster) || !file.Seek(raster.position)) return LastFailure();
    // Room for the largest grid whatever the file claims: no kernel then reads behind the block, and no claim costs
    // memory.
    *table = static_cast<EmulationTable*>(HostAlloc(kCmykTableBytes, 1, __LINE__, kSource));
    if (*table == nullptr) return static_cast<int32_t>(ERROR_NOT_ENOUGH_MEMORY);
    HostFill(*table, 0, kCmykTableBytes);
    DWORD done = 0;
    return file.ReadUpTo(*table, raster.TableBytes(), &done) ? int32_t{CLR_SUCCESS} : LastFailure();
}

// The reader does not use it: leak checkers tell the block that is lost on purpose by this function.
EmulationTable* ClrAllocEmulationTable(int32_t bytes) noexcept {
    auto* table = static_cast<EmulationTable*>(HostAlloc(bytes, 1, __LINE__, kSource));
    if (table != nullptr) HostFill(table, 0, static_cast<size_t>(bytes));
    return table;
}

int32_t ClrLoadEmulationTable(ClrHandle* converter, int32_t sourceId, int32_t destinationId, const ClrParams* params,
                              int32_t custom) noexcept {
    const TableKind kind = KindOf(sourceId, destinationId);
    if (converter == nullptr) return ERR_INVALID_PARAMETER;
    if (custom == 0) {
        BindBuiltinTable(converter, kind);
        return CLR_SUCCESS;
    }
    if (params == nullptr) return ERR_INVALID_PARAMETER;
    const ZvChar* name = params->emulationTableName;
    if (!ClrNameFits(name) || ClrFileExists(name) == 0) return ERR_FILE_NOT_FOUND;
    ClrCopyName(converter->emulationTableName, name);
    if (kind == TableKind::kNone) return CLR_SUCCESS;
    if (kind != TableKind::kLabToHub) {
        // The reader puts a block of its own in the place of this one, which is lost.
        const int32_t bytes = kind == TableKind::kCmykToHub ? kCmykTableBytes : kLabTableBytes;
        converter->customEmulationTable = ClrAllocEmulationTable(bytes);
        if (converter->customEmulationTable == nullptr) return ERR_NO_MEMORY;
    }
    return ClrReadEmulationFile(name, &converter->customEmulationTable);
}

}  // namespace zv
