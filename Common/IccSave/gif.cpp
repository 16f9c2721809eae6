#include <cstdio>

#include "Common/IccSave/save.h"

namespace zv {

namespace {

constexpr uint64_t kBlockSize = 255;
// Application label with the size of what follows, identifier, authentication code.
constexpr uint8_t kHead[] = {0x21, 0xFF, 0x0B, 'I', 'C', 'C', 'R', 'G', 'B', 'G', '1', 0x00, 0x01, 0x02};
constexpr uint8_t kEnd[] = {0x00, 0x3B};  // of the blocks, and of the file

void WriteBlock(std::FILE* file, const uint8_t* data, uint64_t size) noexcept {
    std::fputc(static_cast<int>(size), file);
    std::fwrite(data, 1, size, file);
}

}  // namespace

int32_t IccWriteGifExtension(const ZvChar* fileName, const ClrIccProfile* profile) noexcept {
    std::FILE* file = ZvOpenStream(fileName, "rb+");
    if (file == nullptr) return ERR_FILE_OPEN;
    std::fseek(file, -1, SEEK_END);
    std::fwrite(kHead, 1, sizeof kHead, file);
    const uint8_t* data = profile->profileData;
    uint64_t left = profile->profileSize;
    for (; left >= kBlockSize; left -= kBlockSize, data += kBlockSize) WriteBlock(file, data, kBlockSize);
    if (left != 0) WriteBlock(file, data, left);
    std::fwrite(kEnd, 1, sizeof kEnd, file);
    std::fclose(file);
    return CLR_SUCCESS;
}

}  // namespace zv
