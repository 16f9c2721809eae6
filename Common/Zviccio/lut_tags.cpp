// Reading lookup tables of the types mft1 and mft2.
#include "Common/Zviccio/bytes.h"
#include "Common/Zviccio/profile.h"
#include "Common/Zviccio/tag_stream.h"

namespace zv {

namespace {

constexpr ZvChar kSource[] = ZV_WIDE("Common\\Zviccio");

constexpr uint32_t kType8 = Signature("mft1");
constexpr uint32_t kType16 = Signature("mft2");
constexpr double kIdentityTolerance = 0.0001;

/// What is behind the type's head in both kinds: channels, grid points, padding, matrix. Words follow with the counts
/// of table entries where they are not 256.
constexpr size_t kSizesAndMatrix = 4 + 36;
constexpr uint32_t kEntriesOf8 = 256;

/// The parse of one table: each part is taken from the stream, or the whole is refused.
class LutParse {
public:
    LutParse(CmmLut& lut, TagStream& stream, uint32_t type) noexcept
        : lut_(lut), stream_(stream), sampleBytes_(type == kType8 ? 1 : 2) {}

    /// CLR_SUCCESS or ERR_NO_MEMORY, which stands for every failure.
    int32_t Run() noexcept {
        return ReadSizes() &&
                       ReadCurves(lut_.inputCurves, lut_.inputChannels, lut_.inputEntries, LUT_HAS_INPUT_CURVES) &&
                       ReadGrid() &&
                       ReadCurves(lut_.outputCurves, lut_.outputChannels, lut_.outputEntries, LUT_HAS_OUTPUT_CURVES)
                   ? int32_t{CLR_SUCCESS}
                   : int32_t{ERR_NO_MEMORY};
    }

private:
    bool ReadSizes() noexcept {
        uint8_t front[kSizesAndMatrix + 4];
        if (!stream_.Read(front, sampleBytes_ == 1 ? kSizesAndMatrix : sizeof front)) return false;
        lut_.flags = LUT_HAS_INPUT_CURVES | LUT_HAS_OUTPUT_CURVES | LUT_HAS_CLUT;
        lut_.inputChannels = front[0];
        lut_.outputChannels = front[1];
        lut_.gridPoints = front[2];
        for (size_t i = 0; i < 9; ++i) lut_.matrix[i] = static_cast<int32_t>(BigEndian32(front + 4 + 4 * i));
        if (DiffersFromIdentity(lut_.matrix, kIdentityTolerance)) lut_.flags |= LUT_HAS_MATRIX;
        lut_.inputEntries = sampleBytes_ == 1 ? kEntriesOf8 : BigEndian16(front + kSizesAndMatrix);
        lut_.outputEntries = sampleBytes_ == 1 ? kEntriesOf8 : BigEndian16(front + kSizesAndMatrix + 2);
        if (lut_.inputChannels < 1 || lut_.inputChannels > kMostChannels || lut_.outputChannels < 1 ||
            lut_.outputChannels > kMostChannels || lut_.gridPoints < 1 || lut_.inputEntries < 1 ||
            lut_.outputEntries < 1) {
            return false;
        }
        lut_.inputParams = CmmCurveParams(lut_.inputEntries);
        lut_.outputParams = CmmCurveParams(lut_.outputEntries);
        lut_.clutParams = CmmGridParams(lut_.gridPoints, lut_.inputChannels, lut_.outputChannels);
        return true;
    }

    /// A side whose tables are all ramps needs none. Tables of bytes never pass: they end at 0xFF00.
    bool ReadCurves(uint16_t** curves, uint32_t channels, uint32_t entries, uint32_t flag) noexcept {
        bool linear = true;
        for (uint32_t i = 0; i < channels; ++i) {
            curves[i] = ReadSamples(entries);
            if (curves[i] == nullptr) return false;
            linear = linear && ToneCurveIsLinear(curves[i], static_cast<int32_t>(entries)) != 0;
        }
        if (linear) lut_.flags &= ~flag;
        return true;
    }

    bool ReadGrid() noexcept {
        const int64_t entries = CmmGridEntries(lut_.gridPoints, lut_.inputChannels, lut_.outputChannels);
        if (entries < 1) return false;
        lut_.clut = ReadSamples(static_cast<uint64_t>(entries));
        return lut_.clut != nullptr;
    }

    /// Words in the host's order, or null.
    uint16_t* ReadSamples(uint64_t count) noexcept {
        if (!stream_.Holds(count * sampleBytes_)) return nullptr;
        auto* words =
            static_cast<uint16_t*>(HostAlloc(sizeof(uint16_t), static_cast<int64_t>(count), __LINE__, kSource));
        if (words == nullptr) return nullptr;
        if (sampleBytes_ == 1 ? ReadAndWiden(words, count) : stream_.Read(words, count * sizeof(uint16_t))) {
            if (sampleBytes_ == 2) SwapWords(words, count);
            return words;
        }
        HostFree(words, __LINE__, kSource);
        return nullptr;
    }

    /// A byte moves up eight places, unlike the bytes of pixels, which are repeated. The upper half of the block holds
    /// the bytes until then.
    bool ReadAndWiden(uint16_t* words, uint64_t count) noexcept {
        auto* bytes = reinterpret_cast<uint8_t*>(words) + count;
        if (!stream_.Read(bytes, count)) return false;
        for (uint64_t i = 0; i < count; ++i) words[i] = static_cast<uint16_t>(bytes[i] << 8);
        return true;
    }

    CmmLut& lut_;
    TagStream& stream_;
    uint32_t sampleBytes_;
};

}  // namespace

CmmLut* CmmReadLutTag(CmmProfile* profile, uint32_t signature) noexcept {
    const int32_t index = CmmFindTag(profile, signature);
    if (index < 0) return nullptr;
    TagStream stream(*profile);
    uint8_t head[8];
    if (!stream.Seek(profile->tagOffset[index]) || !stream.Read(head, sizeof head)) return nullptr;
    CmmLut* lut = CmmLutAlloc();
    if (lut == nullptr) return nullptr;
    const uint32_t type = BigEndian32(head);
    if ((type == kType8 || type == kType16) && LutParse(*lut, stream, type).Run() == CLR_SUCCESS) return lut;
    CmmLutFree(lut);
    return nullptr;
}

}  // namespace zv
