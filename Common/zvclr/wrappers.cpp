// Conversions into the host's bitmaps, and operations for narrow strings.
#include "Common/dialogs/dialogs.h"
#include "Common/names.h"
#include "Common/zvclr/frame.h"
#include "Common/zvclr/records.h"
#include "host/memory.h"
#include "zvicc.h"

namespace zv {

namespace {

constexpr int64_t kBitmapPixelBytes = 3;

struct BitmapTarget {
    HostBitmap* bitmap;
    uint32_t recordSize;
    int32_t width;
    int32_t height;
    int32_t rowExtra;  ///< clamped

    /// Neither empty nor larger than a header can tell.
    bool IsPicture() const noexcept { return width > 0 && height > 0 && ImageBytes().Bytes() <= int64_t{UINT32_MAX}; }
    /// A smaller record cannot own pixels.
    bool OwnsPixels() const noexcept {
        return recordSize >= sizeof *bitmap && (bitmap->flags & kHostBitmapAllocated) != 0;
    }
    /// The padding counts three times over, and hosts reckon it from that.
    RegionSize ImageBytes() const noexcept { return (RegionSize(width) + rowExtra) * height * kBitmapPixelBytes; }
    RegionSize RowsBytes() const noexcept { return (RegionSize(width) * kBitmapPixelBytes + rowExtra) * height; }
};

/// Converts into a buffer of its own, and gives that to the host.
template <class Convert>
int32_t ConvertToBitmap(const BitmapTarget& target, RegionSize bufferBytes, const Convert& convert) noexcept {
    if (!target.IsPicture()) return ERR_INVALID_PARAMETER;
    if (IsBadWritePtr(target.bitmap, sizeof *target.bitmap)) return ERR_BAD_POINTER;
    const HostBlock<uint8_t> buffer(bufferBytes.Bytes(), __LINE__, kFrameSource);
    if (!buffer) return ERR_NO_MEMORY;
    // Some conversions succeed and write nothing. Pictures that are too large for any are not worth the time.
    if (target.RowsBytes().Fits()) HostFill(buffer.Data(), 0, static_cast<size_t>(bufferBytes.Bytes()));
    const int32_t result = convert(buffer.Data());
    if (result != CLR_SUCCESS) return result;

    HostDibHeader header = {};
    header.headerSize = sizeof header;
    header.width = target.width;
    header.height = -target.height;  // rows from the top
    header.planes = 1;
    header.bitCount = 24;
    header.imageSize = static_cast<uint32_t>(target.ImageBytes().Bytes());
    if (target.OwnsPixels()) HostFreeBitmap(target.bitmap);
    HostDibToBitmap(target.bitmap, target.recordSize, &header, buffer.Data());
    return CLR_SUCCESS;
}

/// The same record in wide characters, for the length of a call. A name that does not end or cannot be converted
/// becomes one that no file has: too long, and without an end.
class WideParams {
public:
    explicit WideParams(const ClrParamsA* narrow) noexcept : narrow_(narrow) {
        if (narrow == nullptr) return;
        if (IsBadReadPtr(narrow, sizeof *narrow)) {
            result_ = ERR_BAD_POINTER;
            return;
        }
        wide_.size = sizeof wide_;
        wide_.activeMethod = narrow->activeMethod;
        wide_.whitePoint = narrow->whitePoint;
        Widen(narrow->inputProfileName, wide_.inputProfileName);
        wide_.inputProfileMemory = narrow->inputProfileMemory;
        Widen(narrow->outputProfileName, wide_.outputProfileName);
        wide_.outputProfileMemory = narrow->outputProfileMemory;
        Widen(narrow->emulationTableName, wide_.emulationTableName);
        wide_.cmykParams = narrow->cmykParams;
        wide_.yuvParams = narrow->yuvParams;
        wide_.labParams = narrow->labParams;
        wide_.methods = narrow->methods;
        wide_.emulationMethod = narrow->emulationMethod;
    }

    int32_t Result() const noexcept { return result_; }
    /// Null when the caller gave none.
    ClrParams* Value() noexcept { return narrow_ != nullptr ? &wide_ : nullptr; }

private:
    /// Stands for what cannot be converted; in no file's name, and no wildcard.
    static constexpr ZvChar kNoCharacter = 0xFFFD;

    static void Widen(const char (&name)[CLR_NAME_LENGTH], ZvChar (&to)[CLR_NAME_LENGTH]) noexcept {
        char ended[CLR_NAME_LENGTH];
        HostCopy(ended, name, CLR_NAME_LENGTH - 1);
        ended[CLR_NAME_LENGTH - 1] = 0;
        const bool converted = Zv_A2W::Convert(ended, to, CLR_NAME_LENGTH) == CLR_SUCCESS;
        if (converted && HostFind(name, 0, CLR_NAME_LENGTH) != nullptr) return;
        for (int32_t i = converted ? ClrNameLength(to) : 0; i < CLR_NAME_LENGTH; ++i) to[i] = kNoCharacter;
    }

    const ClrParamsA* narrow_;
    int32_t result_ = CLR_SUCCESS;
    ClrParams wide_ = {};
};

/// What does not fit becomes a name that no file has: longer than any system's names, of a character that some forbid.
void NarrowName(const ZvChar (&name)[CLR_NAME_LENGTH], char (&to)[CLR_NAME_LENGTH]) noexcept {
    if (Zv_W2A::Convert(name, to, CLR_NAME_LENGTH) == CLR_SUCCESS) return;
    HostFill(to, '|', CLR_NAME_LENGTH - 1);
    to[CLR_NAME_LENGTH - 1] = 0;
}

/// Everything but the size, which is the caller's own.
void NarrowParams(const ClrParams& wide, ClrParamsA* narrow) noexcept {
    narrow->activeMethod = wide.activeMethod;
    narrow->whitePoint = wide.whitePoint;
    NarrowName(wide.inputProfileName, narrow->inputProfileName);
    narrow->inputProfileMemory = wide.inputProfileMemory;
    NarrowName(wide.outputProfileName, narrow->outputProfileName);
    narrow->outputProfileMemory = wide.outputProfileMemory;
    NarrowName(wide.emulationTableName, narrow->emulationTableName);
    narrow->cmykParams = wide.cmykParams;
    narrow->yuvParams = wide.yuvParams;
    narrow->labParams = wide.labParams;
    narrow->methods = wide.methods;
    narrow->emulationMethod = wide.emulationMethod;
}

/// Runs a wide operation on the wide form of a file's name.
template <class Operation>
int32_t WithWideName(const char* fileName, const Operation& operation) noexcept {
    if (fileName == nullptr) return ERR_INVALID_PARAMETER;
    Zv_A2W wide;
    return wide.Convert(fileName) == CLR_SUCCESS ? operation(wide.Value()) : int32_t{ERR_FAILURE};
}

}  // namespace

}  // namespace zv

using namespace zv;

int32_t Zv_ClrConvertToBitmap(const ClrHandle* converter, const void* source, void* bitmap, uint32_t bitmapRecordSize,
                              int32_t width, int32_t height, int32_t sourceRowExtra, int32_t destinationRowExtra) {
    if (source == nullptr || bitmap == nullptr) return ERR_INVALID_PARAMETER;
    if (converter == nullptr) return ERR_BAD_POINTER;
    const bool live = IsLive(converter);
    if (!live && IsBadReadPtr(converter, kConverterSize)) return ERR_BAD_POINTER;
    ClrSpacePair spaces{};
    if (!ReadSpaces(converter, live, &spaces)) return ERR_BAD_POINTER;
    const RegionSize sourceBytes = PaddedRows(spaces.source, width, height, sourceRowExtra);
    if (!CanRead(source, sourceBytes)) return ERR_BAD_POINTER;
    if (!live) return ERR_INVALID_HANDLE;
    if (!ClrIsHub(spaces.destination)) return ERR_COLORSPACE_UNSUPPORTED;

    const BitmapTarget target = {static_cast<HostBitmap*>(bitmap), bitmapRecordSize, width, height,
                                 ClampExtra(destinationRowExtra)};
    RegionSize bytes = target.RowsBytes();
    // The platform may align rows that come without padding.
    if (target.rowExtra == 0 && ClrSystemConverts(*converter)) bytes = bytes + RegionSize(height) * kBitmapPixelBytes;
    return ConvertToBitmap(target, bytes, [&](uint8_t* buffer) {
        return Convert(converter, {static_cast<const uint8_t*>(source), buffer, width, height, sourceRowExtra,
                                   destinationRowExtra, ClrReach{}.With(sourceBytes, bytes)});
    });
}

int32_t Zv_ClrConvertDirectToBitmap(int32_t sourceSpace, int32_t destinationSpace, const void* source, void* bitmap,
                                    uint32_t bitmapRecordSize, int32_t width, int32_t height, int32_t sourceRowExtra,
                                    int32_t destinationRowExtra) {
    if (source == nullptr || bitmap == nullptr) return ERR_INVALID_PARAMETER;
    if (!ClrIsHub(destinationSpace)) return ERR_INVALID_PARAMETER;
    const BitmapTarget target = {static_cast<HostBitmap*>(bitmap), bitmapRecordSize, width, height,
                                 ClampExtra(destinationRowExtra)};
    return ConvertToBitmap(target, target.ImageBytes(), [&](uint8_t* buffer) {
        return ConvertDirect(sourceSpace, destinationSpace,
                             {static_cast<const uint8_t*>(source), buffer, width, height, sourceRowExtra,
                              destinationRowExtra, ClrReach{}.With(0, target.ImageBytes())});
    });
}

int32_t Zv_ClrInitA(ClrHandle** receiver, int32_t sourceSpace, int32_t destinationSpace, const ClrParamsA* params) {
    WideParams wide(params);
    if (wide.Result() != CLR_SUCCESS) return wide.Result();
    return Zv_ClrInit(receiver, sourceSpace, destinationSpace, wide.Value());
}

int32_t Zv_ClrSetConversionParamsA(ClrHandle* converter, const ClrParamsA* params) {
    WideParams wide(params);
    if (wide.Result() != CLR_SUCCESS) return wide.Result();
    return Zv_ClrSetConversionParams(converter, wide.Value());
}

int32_t Zv_ClrDlgA(int32_t dialogType, void* parentWindow, ClrHandle** converterOut, ClrParamsA* params) {
    if (!ClrIsDialog(dialogType)) return CLR_SUCCESS;
    WideParams wide(params);
    const bool writable = params == nullptr || !IsBadWritePtr(params, sizeof *params);
    if (wide.Result() != CLR_SUCCESS || !writable) return ERR_INVALID_PARAMETER;
    const int32_t result = Zv_ClrDlg(dialogType, parentWindow, converterOut, wide.Value());
    if (result == CLR_SUCCESS && params != nullptr) NarrowParams(*wide.Value(), params);
    return result;
}

int32_t Zv_LoadICCProfileA(const char* fileName, ClrIccProfile* profile, const void* loadOptions) {
    return WithWideName(fileName, [&](const ZvChar* name) { return Zv_LoadICCProfile(name, profile, loadOptions); });
}

int32_t Zv_SaveICCProfileA(const char* fileName, const ClrIccProfile* profile, const SAVEFILEOPTIONA* saveOptions) {
    return WithWideName(fileName, [&](const ZvChar* name) {
        SAVEFILEOPTION_Conv options(saveOptions);
        if (options.Begin() != CLR_SUCCESS) return int32_t{ERR_FAILURE};
        const int32_t result = Zv_SaveICCProfile(name, profile, options.ValueW());
        options.End();
        return result;
    });
}

int32_t Zv_FillICCProfileFromICCFileA(const char* fileName, ClrIccProfile* profile) {
    return WithWideName(fileName, [&](const ZvChar* name) { return Zv_FillICCProfileFromICCFile(name, profile); });
}

int32_t Zv_GenerateICCFileA(const ClrIccProfile* profile, const char* fileName) {
    return WithWideName(fileName, [&](const ZvChar* name) { return Zv_GenerateICCFile(profile, name); });
}
