// Changes of live converters, for their tests.
#pragma once

#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/table_file.h"

namespace zv::test {

/// A record that changes what the mask names and has nothing else. Its size is wrong, which no change looks at.
inline ClrParams ChangeOf(uint32_t mask) {
    ClrParams params{};
    params.size = 7;
    params.methods = mask;
    return params;
}

inline int32_t Change(const Converter& converter, const ClrParams& params) {
    return Zv_ClrSetConversionParams(converter.Get(), &params);
}
inline int32_t ChangeMethod(const Converter& converter, uint32_t method) {
    ClrParams params = ChangeOf(CLRPARAM_ACTIVE_METHOD);
    params.activeMethod = method;
    return Change(converter, params);
}
inline int32_t ChangeCmyk(const Converter& converter, ClrCmykParams cmyk) {
    ClrParams params = ChangeOf(CLRPARAM_CMYK);
    params.cmykParams = &cmyk;
    return Change(converter, params);
}
inline int32_t ChangeYuv(const Converter& converter, ClrYuvParams yuv) {
    ClrCmykParams cmyk = MakeCmyk(0);
    ClrParams params = ChangeOf(CLRPARAM_YUV);
    params.cmykParams = &cmyk;
    params.yuvParams = &yuv;
    return Change(converter, params);
}
inline int32_t ChangeLab(const Converter& converter, ClrLabParams lab) {
    ClrParams params = ChangeOf(CLRPARAM_LAB);
    params.labParams = &lab;
    return Change(converter, params);
}
inline int32_t ChangeWhite(const Converter& converter, ClrWhitePoint white) {
    ClrParams params = ChangeOf(CLRPARAM_WHITE_POINT);
    params.whitePoint = &white;
    return Change(converter, params);
}

/// Every field of the converter, and no more: what the pointers lead to may differ.
inline Bytes FieldsOf(const Converter& converter) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(converter.Get());
    return {bytes, bytes + sizeof(ClrHandle)};
}
template <class T>
Bytes RecordBytes(const T* record) {
    if (record == nullptr) return {};
    const auto* bytes = reinterpret_cast<const uint8_t*>(record);
    return {bytes, bytes + sizeof(T)};
}
inline bool SameWhite(const ClrWhitePoint* own, const ClrWhitePoint& white) {
    return RecordBytes(own) == RecordBytes(&white);
}

/// Names of a converter end.
inline Wide NameOf(const ZvChar (&name)[kConverterNameLength]) { return name; }

/// A name of 259 characters, as long as a converter's can be, for a file in the folder.
inline Wide LongName(const TemporaryFolder& folder, const std::string& file) {
    constexpr size_t kLongest = 259;
    Wide name = WideOf(folder.Path());
    name += ZvChar{'/'};
    EXPECT_LT(name.size() + file.size(), kLongest) << "the folder's own name is too long";
    if ((kLongest - name.size() - file.size()) % 2 != 0) name += ZvChar{'/'};
    while (name.size() + file.size() < kLongest) name.append({ZvChar{'.'}, ZvChar{'/'}});
    return name + Wide(file.begin(), file.end());
}

/// An address that nobody can read.
class Nowhere {
public:
    Nowhere() { page_.MakeUnreadable(); }
    template <class T>
    T* As() const {
        return reinterpret_cast<T*>(page_.Data());
    }
    /// All pointers of a record lead there.
    void Fill(ClrParams& params) const {
        params.whitePoint = As<ClrWhitePoint>();
        params.inputProfileMemory = params.outputProfileMemory = As<ClrProfileMemory>();
        params.cmykParams = As<ClrCmykParams>();
        params.yuvParams = As<ClrYuvParams>();
        params.labParams = As<ClrLabParams>();
    }

private:
    GuardedBuffer page_{64};
};

/// One row of packed pixels and what a conversion answers.
struct Converted {
    int32_t result;
    Bytes pixels;
    bool operator==(const Converted&) const = default;
};
constexpr uint8_t kUntouched = 0xCD;
inline Converted ConvertPixels(const Converter& converter, const Bytes& source, int32_t width) {
    Converted out{0, Bytes(RowBytesOf(converter->destinationSpace, width), kUntouched)};
    out.result = Zv_ClrConvert(converter.Get(), source.data(), out.pixels.data(), width, 1, 0, 0);
    return out;
}
inline bool IsUntouched(const Bytes& pixels) { return pixels == Bytes(pixels.size(), kUntouched); }

// --- Tables ---------------------------------------------------------------------------------------------------------

/// From the inks, and of Lab on a side. Every seed gives other nodes.
inline Bytes InkTable(uint32_t seed) { return RandomBytes(289 * 289 * 3, seed); }
inline Bytes LabTable(uint32_t seed) { return RandomBytes(190 * 190 * 3, seed); }
inline Bytes InkTableFile(const Bytes& nodes) { return TableFile::Of(289, 289, 3, nodes).Build(); }
inline Bytes LabTableFile(const Bytes& nodes) { return TableFile::Of(190, 190, 3, nodes).Build(); }

/// The three bytes of a node.
inline Bytes InkNode(const Bytes& table, size_t c, size_t m, size_t y, size_t k) {
    const auto at = table.begin() + static_cast<Bytes::difference_type>((((c * 17 + m) * 17 + y) * 17 + k) * 3);
    return {at, at + 3};
}
inline Bytes LabNode(const Bytes& table, size_t first, size_t second, size_t third) {
    const auto at = table.begin() + static_cast<Bytes::difference_type>(((first * 33 + second) * 33 + third) * 3);
    return {at, at + 3};
}

}  // namespace zv::test
