#include "gif.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "file_cursor.h"
#include "image/image.h"

namespace zvembed {

namespace {

constexpr uint8_t kImage = 0x2C;
constexpr uint8_t kExtension = 0x21;
constexpr uint8_t kTrailer = 0x3B;
constexpr uint8_t kApplication = 0xFF;
constexpr size_t kApplicationBytes = 11;
constexpr std::string_view kIdentifier = "ICCRGBG1";
constexpr uint64_t kBeforeFlags = 10;

void skipColours(FileCursor& cursor, uint8_t flags) {
    if ((flags & 0x80) != 0) {
        cursor.skip(uint64_t{3} << ((flags & 7) + 1));
    }
}

void skipBlocks(FileCursor& cursor) {
    for (uint8_t count = cursor.u8(); count != 0; count = cursor.u8()) {
        cursor.skip(count);
    }
}

class GifWalk {
public:
    explicit GifWalk(zvimage::InputFile& file) : file_(file), cursor_(file) {}

    GifProfile walk() {
        cursor_.skip(kBeforeFlags);
        const uint8_t flags = cursor_.u8();
        cursor_.skip(2);
        skipColours(cursor_, flags);
        // Files without a trailer are common, and their images are whole.
        while (!cursor_.failed() && cursor_.left() > 0) {
            const uint8_t kind = cursor_.u8();
            if (kind == kTrailer) {
                found_.trailerIsLast = cursor_.left() == 0;
                return std::move(found_);
            }
            if (kind == kExtension) {
                readExtension();
            } else if (kind == kImage) {
                skipImage();
            } else {
                throw zvimage::ImageError(fmt::format("{} is damaged: a block of the unknown kind {} stands at byte {}",
                                                      file_.name(), kind, cursor_.position() - 1));
            }
        }
        if (cursor_.failed()) {
            throw zvimage::ImageError(file_.name() + " is damaged: it ends too early");
        }
        return std::move(found_);
    }

private:
    void skipImage() {
        constexpr uint64_t kPlaceBytes = 8;
        cursor_.skip(kPlaceBytes);
        skipColours(cursor_, cursor_.u8());
        cursor_.skip(1);
        skipBlocks(cursor_);
    }

    void readExtension() {
        const uint8_t label = cursor_.u8();
        const uint8_t count = cursor_.u8();
        const std::vector<uint8_t> head = cursor_.take(count);
        if (count == 0) {
            return;
        }
        if (label != kApplication || head.size() != kApplicationBytes ||
            !std::equal(kIdentifier.begin(), kIdentifier.end(), head.begin())) {
            skipBlocks(cursor_);
            return;
        }
        ++found_.extensions;
        found_.bytes.clear();
        for (uint8_t size = cursor_.u8(); size != 0; size = cursor_.u8()) {
            const std::vector<uint8_t> block = cursor_.take(size);
            found_.bytes.insert(found_.bytes.end(), block.begin(), block.end());
            if (found_.bytes.size() > zvimage::kMaxProfile) {
                throw zvimage::ImageError(fmt::format("the profile in {} is larger than {} MB, which no ICC profile is",
                                                      file_.name(), zvimage::kMaxProfile >> 20));
            }
        }
    }

    zvimage::InputFile& file_;
    FileCursor cursor_;
    GifProfile found_;
};

}  // namespace

GifProfile readGifProfile(zvimage::InputFile& file) { return GifWalk(file).walk(); }

}  // namespace zvembed
