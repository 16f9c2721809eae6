#include "eps.h"

#include <fmt/format.h>

#include <string>
#include <string_view>

#include "file_cursor.h"
#include "image/image.h"

namespace zvembed {

namespace {

constexpr uint32_t kBinaryFrame = 0xC5D0D3C6;
constexpr std::string_view kBegin = "%%BeginICCProfile:";
constexpr std::string_view kEnd = "%%EndICCProfile";
// Lines of text should have 255 bytes at most; what is much longer is binary, and a part tells it from these.
constexpr size_t kLongestLine = 65536;

int digitOf(char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

class EpsReader {
public:
    explicit EpsReader(zvimage::InputFile& file) : file_(file), cursor_(file) {
        if (cursor_.u32() == kBinaryFrame) {
            const uint32_t start = cursor_.u32Little();
            const uint32_t length = cursor_.u32Little();
            if (cursor_.failed() || start > cursor_.size() || length > cursor_.size() - start) {
                throw zvimage::ImageError(file.name() + " is damaged: its PostScript does not lie inside it");
            }
            cursor_.endAt(uint64_t{start} + length);
            cursor_.seek(start);
        } else {
            cursor_.seek(0);
        }
    }

    std::optional<std::vector<uint8_t>> read() {
        while (nextLine()) {
            if (line_.starts_with(kBegin)) {
                return readBlock();
            }
        }
        return std::nullopt;
    }

private:
    [[noreturn]] void damaged(const std::string& what) const {
        throw zvimage::ImageError(fmt::format("the profile in {} is damaged: {}", file_.name(), what));
    }

    /// False at the end. Lines end with CR, LF or both.
    bool nextLine() {
        line_.clear();
        cut_ = false;
        if (cursor_.left() == 0) {
            return false;
        }
        ++number_;
        while (cursor_.left() > 0) {
            const char c = static_cast<char>(cursor_.u8());
            if (c == '\r' && cursor_.peek() == '\n') {
                cursor_.skip(1);
            }
            if (c == '\r' || c == '\n') {
                return true;
            }
            cut_ = cut_ || line_.size() == kLongestLine;
            if (!cut_) {
                line_ += c;
            }
        }
        return true;
    }

    std::vector<uint8_t> readBlock() {
        std::vector<uint8_t> bytes;
        while (nextLine()) {
            if (line_.starts_with(kEnd)) {
                return bytes;
            }
            if (cut_ || !line_.starts_with('%')) {
                damaged(fmt::format("line {} is no line of hexadecimal digits behind a percent sign", number_));
            }
            decode(bytes);
            if (bytes.size() > zvimage::kMaxProfile) {
                damaged(fmt::format("it is larger than {} MB, which no ICC profile is", zvimage::kMaxProfile >> 20));
            }
        }
        damaged(fmt::format("the file ends before {}", kEnd));
    }

    void decode(std::vector<uint8_t>& bytes) const {
        int high = -1;
        for (const char c : std::string_view(line_).substr(1)) {
            const int digit = digitOf(c);
            if (digit < 0 && c != ' ' && c != '\t') {
                damaged(fmt::format("line {} holds what is no hexadecimal digit", number_));
            }
            if (digit >= 0 && high < 0) {
                high = digit;
            } else if (digit >= 0) {
                bytes.push_back(static_cast<uint8_t>(high << 4 | digit));
                high = -1;
            }
        }
        if (high >= 0) {
            damaged(fmt::format("line {} has an odd number of hexadecimal digits", number_));
        }
    }

    zvimage::InputFile& file_;
    FileCursor cursor_;
    std::string line_;
    bool cut_ = false;  ///< the line is longer than what is kept of it
    uint64_t number_ = 0;
};

}  // namespace

std::optional<std::vector<uint8_t>> readEpsProfile(zvimage::InputFile& file) { return EpsReader(file).read(); }

}  // namespace zvembed
