// Profiles in memory and in files, and converters by profiles, for tests of the ICC methods.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "Common/Zvtrans/transform.h"
#include "Common/lookup.h"
#include "tests/support/frame_fixture.h"
#include "tests/support/profile_builder.h"

#ifdef _WIN32
#    include <process.h>
#else
#    include <unistd.h>
#endif

namespace zv::test {

using Wide = std::basic_string<ZvChar>;

inline Wide WideOf(const std::filesystem::path& path) {
    const std::u16string text = path.u16string();
    return {text.begin(), text.end()};
}

/// A folder of its own for each test, gone at its end.
class TemporaryFolder {
public:
    TemporaryFolder() {
#ifdef _WIN32
        const int process = _getpid();
#else
        const int process = getpid();
#endif
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(test->test_suite_name()) + "_" + test->name();
        std::replace(name.begin(), name.end(), '/', '_');
        path_ = std::filesystem::temp_directory_path() / ("zvclr_" + name + "_" + std::to_string(process));
        std::filesystem::create_directories(path_);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    Wide Write(const std::string& name, const Bytes& content) const {
        const std::filesystem::path file = path_ / name;
        std::ofstream stream(file, std::ios::binary);
        stream.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
        EXPECT_TRUE(stream.good()) << file;
        return WideOf(file);
    }

private:
    std::filesystem::path path_;
};

/// As many characters as the field has; the closing zero only where it finds room.
inline void SetName(ZvChar (&field)[CLR_NAME_LENGTH], const Wide& name) {
    const size_t length = std::min<size_t>(name.size(), CLR_NAME_LENGTH);
    std::copy_n(name.begin(), length, field);
    if (length < CLR_NAME_LENGTH) field[length] = 0;
}

/// A caller's profile in memory; the record points at the bytes.
struct MemoryProfile {
    Bytes bytes;
    ClrProfileMemory record{};

    explicit MemoryProfile(Bytes content) : bytes(std::move(content)) {
        record.size = sizeof record;
        record.data = bytes.data();
        record.dataSize = bytes.size();
    }
    MemoryProfile(const MemoryProfile&) = delete;
    MemoryProfile& operator=(const MemoryProfile&) = delete;
};

/// Matrix profiles of two curves that tell each other apart, and one whose red and green are exchanged.
inline Bytes GammaProfile(uint16_t u8Fixed8) { return MatrixRgbProfile({}, GammaBody(u8Fixed8)).Build(); }
inline Bytes ExchangedProfile() {
    Colorants exchanged;
    std::swap(exchanged.red, exchanged.green);
    return MatrixRgbProfile(exchanged, GammaBody(0x0200)).Build();
}

/// Bytes of a pixel of the spaces that profiles serve.
inline size_t PixelBytes(int32_t space) { return space == CLRSPACE_CMYK || space == CLRSPACE_YCCK ? 4 : 3; }

/// Corners, greys and random pixels.
inline Bytes SamplePixels(int32_t space, size_t randomPixels = 200) {
    const size_t bytes = PixelBytes(space);
    Bytes pixels;
    for (size_t corner = 0; corner < size_t{1} << bytes; ++corner) {
        for (size_t k = 0; k < bytes; ++k) pixels.push_back((corner >> k & 1) != 0 ? 255 : 0);
    }
    for (size_t grey = 0; grey < 256; grey += 15) pixels.insert(pixels.end(), bytes, static_cast<uint8_t>(grey));
    const Bytes random = RandomBytes(randomPixels * bytes, 4711);
    pixels.insert(pixels.end(), random.begin(), random.end());
    return pixels;
}

/// The pixels in one row.
inline Bytes ConvertRow(const ClrHandle* converter, const Bytes& pixels) {
    const size_t count = pixels.size() / PixelBytes(converter->sourceSpace);
    Bytes out(count * PixelBytes(converter->destinationSpace), 0xCD);
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrConvert(converter, pixels.data(), out.data(), static_cast<int32_t>(count), 1, 0, 0));
    return out;
}
inline Bytes ConvertSample(const ClrHandle* converter) {
    return ConvertRow(converter, SamplePixels(converter->sourceSpace));
}

/// A record for CLRMETHOD_CUSTOM_ICC with profiles in memory.
inline ClrParams CustomParams(MemoryProfile* input, MemoryProfile* output) {
    ClrParams params = MakeParams(CLRMETHOD_CUSTOM_ICC, CLRMETHOD_CUSTOM_ICC);
    if (input != nullptr) params.inputProfileMemory = &input->record;
    if (output != nullptr) params.outputProfileMemory = &output->record;
    return params;
}

/// The bytes of the sample through a converter that lives for this call.
inline Bytes SampleThrough(int32_t source, int32_t destination, ClrParams params) {
    const Converter converter(source, destination, &params);
    return converter.Get() == nullptr ? Bytes() : ConvertSample(converter.Get());
}

}  // namespace zv::test
