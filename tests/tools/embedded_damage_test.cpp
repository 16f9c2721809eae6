// The commands that move profiles against image files that were cut, or made to mislead.
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <functional>
#include <random>

#include "embed_command.h"
#include "embedded/embedded_profile.h"
#include "embedded_support.h"
#include "image/image.h"
#include "info_support.h"

namespace {

using zvtest::Bytes;
using zvtest::Chunk;
using zvtest::Folder;
using zvtest::Outcome;
using zvtest::runTool;

struct Sample {
    const char* name;
    Bytes file;
};

size_t littleWord(const Bytes& file, size_t at) { return file.at(at) + size_t{256} * file.at(at + 1); }

void putLittle(Bytes& file, size_t at, uint32_t value, size_t count = 4) {
    for (size_t i = 0; i < count; ++i) {
        file.at(at + i) = static_cast<uint8_t>(value >> (8 * i));
    }
}

class EmbeddedDamage : public testing::Test {
protected:
    EmbeddedDamage() : profile_(zvtest::smallProfile("RGB ")) { zvtest::writeFile(path("p.icc"), profile_); }

    std::string path(const std::string& name) const { return folder_.path(name); }

    Bytes withProfile(const std::string& name, const Bytes& image) const {
        zvtest::writeFile(path(name), image);
        const Outcome outcome = runTool({"embed", path("p.icc"), path(name)});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return zvtest::readFile(path(name));
    }

    std::vector<Sample> samples() const {
        const Bytes jpeg = zvtest::jpegWithParts(zvtest::plainJpeg(), {{1, 1, profile_}});
        const Bytes png = withProfile("made.png", zvtest::plainPng());
        const Bytes gif = zvtest::gifWithProfile(zvtest::plainGif(), profile_);
        const std::string eps = zvtest::epsWith(zvtest::epsBlock(profile_, "\n"), "\n");
        const Bytes picture = zvtest::pictureWithProfile(profile_, 100);
        std::vector<Sample> all = {{"a.jpg", jpeg},
                                   {"a.png", png},
                                   {"a.gif", gif},
                                   {"a.eps", Bytes(eps.begin(), eps.end())},
                                   {"b.eps", zvtest::inBinaryFrame(eps)},
                                   {"a.pct", picture}};
        for (const size_t i : {size_t{0}, size_t{3}}) {
            const zvtest::TiffVariant& variant = zvtest::tiffVariants()[i];
            zvtest::writeTiff(path(variant.name), variant, profile_);
            all.push_back({variant.name, zvtest::readFile(path(variant.name))});
        }
        return all;
    }

    // The profile in these bytes; nothing when the reader refuses them, with a text of one line.
    std::optional<Bytes> tryExtract(const std::string& name, const Bytes& file) const {
        zvtest::writeFile(path(name), file);
        try {
            const auto found = zvembed::findEmbeddedProfile(path(name));
            return found ? std::optional(found->bytes) : std::nullopt;
        } catch (const zvimage::ImageError& error) {
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << error.what();
            return std::nullopt;
        }
    }

    // Puts the profile in, or leaves the file as it is.
    bool tryEmbed(const std::string& name, const Bytes& file) const {
        zvtest::writeFile(path(name), file);
        const std::vector<std::string> names = folder_.names();
        zvtool::EmbedArguments arguments;
        arguments.profile = path("p.icc");
        arguments.image = path(name);
        arguments.quiet = true;
        bool done = false;
        try {
            zvtool::runEmbed(arguments);
            done = true;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << error.what();
            EXPECT_EQ(zvtest::readFile(path(name)), file) << name;
        }
        EXPECT_EQ(folder_.names(), names) << name;
        return done;
    }

    // By the program itself: exit code 1 and one line.
    void refused(const std::string& name, const Bytes& file, const std::string& words) const {
        zvtest::writeFile(path(name), file);
        for (const std::vector<std::string>& command :
             std::vector<std::vector<std::string>>{{"extract", path(name), path("out.icc")}, {"info", path(name)}}) {
            const Outcome outcome = runTool(command);
            EXPECT_EQ(outcome.code, 1) << name << outcome.out;
            EXPECT_EQ(outcome.out, "");
            EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
            EXPECT_NE(outcome.err.find(words), std::string::npos) << words << " in: " << outcome.err;
        }
        EXPECT_FALSE(zvtest::exists(path("out.icc")));
    }

    Folder folder_;
    Bytes profile_;
};

TEST_F(EmbeddedDamage, CutFilesAreReadAtEveryByte) {
    for (const Sample& sample : samples()) {
        ASSERT_EQ(tryExtract(sample.name, sample.file), profile_) << sample.name;
        size_t refusals = 0;
        for (size_t size = 0; size < sample.file.size(); ++size) {
            const Bytes cut(sample.file.begin(), sample.file.begin() + static_cast<std::ptrdiff_t>(size));
            const std::optional<Bytes> found = tryExtract(sample.name, cut);
            refusals += found ? 0U : 1U;
            // Never a part of it.
            if (found && !found->empty()) {
                ASSERT_EQ(*found, profile_) << sample.name << " at " << size;
            }
        }
        EXPECT_GT(refusals, 4U) << sample.name;
    }
}

TEST_F(EmbeddedDamage, CutFilesAreLeftWholeByEmbedAtEveryByte) {
    for (const Sample& sample : samples()) {
        const std::string name = sample.name;
        if (name.ends_with("eps") || name.ends_with("pct")) {
            EXPECT_FALSE(tryEmbed(name, sample.file));
            continue;
        }
        ASSERT_TRUE(tryEmbed(name, sample.file)) << name;
        EXPECT_EQ(tryExtract(name, zvtest::readFile(path(name))), profile_) << name;
        size_t refusals = 0;
        for (size_t size = 0; size < sample.file.size(); ++size) {
            const Bytes cut(sample.file.begin(), sample.file.begin() + static_cast<std::ptrdiff_t>(size));
            if (tryEmbed(name, cut)) {
                ASSERT_EQ(tryExtract(name, zvtest::readFile(path(name))), profile_) << name << " at " << size;
            } else {
                ++refusals;
            }
        }
        EXPECT_GT(refusals, 4U) << name;
    }
}

TEST_F(EmbeddedDamage, ChangedBytesDoNoHarm) {
    for (const Sample& sample : samples()) {
        size_t changed = 0;
        for (size_t i = 0; i < sample.file.size(); ++i) {
            for (const int mask : {0x01, 0x80, 0xff}) {
                Bytes file = sample.file;
                file[i] = static_cast<uint8_t>(file[i] ^ mask);
                const std::optional<Bytes> found = tryExtract(sample.name, file);
                changed += found && *found == profile_ ? 0U : 1U;
            }
        }
        EXPECT_GE(changed, profile_.size()) << sample.name;
    }
}

TEST_F(EmbeddedDamage, MarkersOfEveryLength) {
    const Bytes jpeg = zvtest::plainJpeg();
    Bytes data;
    zvtest::appendText(data, std::string_view("ICC_PROFILE\0\1\1", 14));
    zvtest::append(data, profile_);
    for (const uint16_t length : {uint16_t{0}, uint16_t{1}}) {
        refused("a.jpg", zvtest::jpegWithSegment(jpeg, 0xE2, length, data), "is damaged: ");
        EXPECT_FALSE(tryEmbed("a.jpg", zvtest::jpegWithSegment(jpeg, 0xE2, length, data)));
    }
    // Behind a shorter segment the rest is no marker, and decoders look for the next one.
    for (const uint16_t length : {uint16_t{2}, uint16_t{13}, uint16_t{14}, uint16_t{15}}) {
        const Bytes file = zvtest::jpegWithSegment(jpeg, 0xE2, length, Bytes(data.begin(), data.begin() + length - 2));
        refused("a.jpg", file, "has no embedded ICC profile");
    }
    refused("a.jpg", zvtest::jpegWithSegment(jpeg, 0xE2, 65535, data), "is damaged: ");
    EXPECT_FALSE(tryEmbed("a.jpg", zvtest::jpegWithSegment(jpeg, 0xE2, 65535, data)));
    Bytes endless = {0xFF, 0xD8};
    endless.resize(1 << 20, 0xFF);
    refused("a.jpg", endless, "is damaged: ");
}

TEST_F(EmbeddedDamage, JpegPartsWithoutEndAreBounded) {
    Bytes file = {0xFF, 0xD8};
    const Bytes part = zvtest::jpegWithParts(file, {{1, 1, Bytes(65519, 'x')}});
    for (int i = 0; i < 1030; ++i) {
        file.insert(file.end(), part.begin() + 2, part.end());
    }
    refused("a.jpg", file, "larger than 64 MB");
}

TEST_F(EmbeddedDamage, JpegMarkersWithoutNumberAreBounded) {
    const Bytes jpeg = zvtest::plainJpeg();
    Bytes file(jpeg.begin(), jpeg.begin() + 2);
    const Bytes part = zvtest::jpegWithParts(file, {{1, 1, {}}});
    for (int i = 0; i < 300000; ++i) {
        file.insert(file.end(), part.begin() + 2, part.end());
    }
    file.insert(file.end(), jpeg.begin() + 2, jpeg.end());
    refused("a.jpg", file, "has more than 4096 parts");
    const Outcome embedding = runTool({"convert", path("a.jpg"), path("out.tif"), "--to", "cmyk", "--embed"});
    EXPECT_EQ(embedding.code, 1);
    EXPECT_NE(embedding.err.find("more APP2 markers than a profile needs"), std::string::npos) << embedding.err;
}

TEST_F(EmbeddedDamage, TextsOfAPngAreNotUnpacked) {
    const Bytes zeros(size_t{60} << 20);
    uLongf packed = compressBound(static_cast<uLong>(zeros.size()));
    Bytes stream(packed);
    ASSERT_EQ(compress2(stream.data(), &packed, zeros.data(), static_cast<uLong>(zeros.size()), 9), Z_OK);
    Chunk text = {"zTXt", {}};
    zvtest::appendText(text.data, std::string_view("k\0\0", 3));
    zvtest::append(text.data, Bytes(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(packed)));
    const Bytes png = withProfile("a.png", zvtest::plainPng());
    std::vector<Chunk> chunks = zvtest::chunksOf(png);
    chunks.insert(chunks.end() - 1, text);
    chunks.insert(chunks.begin() + 1, text);
    zvtest::writeFile(path("b.png"), zvtest::pngOf(chunks));
    const Outcome plain = runTool({"extract", path("a.png"), path("a.icc")});
    const Outcome full = runTool({"extract", path("b.png"), path("b.icc")});
    EXPECT_EQ(full.code, 0) << full.err;
    EXPECT_EQ(zvtest::readFile(path("b.icc")), profile_);
    EXPECT_LT(full.peakKilobytes, plain.peakKilobytes + 20000);
}

// Pieces in random orders, among them random bytes.
class RandomFiles : public EmbeddedDamage {
protected:
    static constexpr int kRounds = 2000;

    size_t below(size_t count) { return random_() % count; }

    Bytes noise(size_t most) {
        Bytes bytes(below(most));
        for (uint8_t& byte : bytes) {
            byte = static_cast<uint8_t>(random_());
        }
        return bytes;
    }

    // Some are read to their end, some are refused.
    void tryAll(const char* name, const std::function<Bytes()>& make, bool embeds) {
        int whole = 0;
        int refusals = 0;
        for (int i = 0; i < kRounds; ++i) {
            const Bytes file = make();
            const std::optional<Bytes> found = tryExtract(name, file);
            whole += found && *found == profile_ ? 1 : 0;
            refusals += found ? 0 : 1;
            if (embeds && i % 4 == 0) {
                tryEmbed(name, file);
            }
        }
        EXPECT_GT(whole, kRounds / 200) << name;
        EXPECT_GT(refusals, kRounds / 20) << name;
    }

    std::minstd_rand random_{20};
};

TEST_F(RandomFiles, Gif) {
    const Bytes gif = zvtest::plainGif();
    const Bytes whole = zvtest::gifWithProfile(gif, profile_);
    // The extension stands before the trailer.
    const auto added = static_cast<std::ptrdiff_t>(whole.size() - gif.size());
    const Bytes extension(whole.end() - 1 - added, whole.end() - 1);
    const Bytes body(gif.begin() + 13, gif.end() - 1);
    const std::vector<Bytes> sound = {extension, body, {0x21, 0xFE, 2, 9, 9, 0}};
    const std::vector<Bytes> broken = {{0x21, 0xFF, 0x0B}, {0x2C}, {0}, {0x3B}, {0x21, 0xF9, 4, 0, 0, 0, 0, 0}};
    tryAll(
        "a.gif",
        [&] {
            Bytes file(gif.begin(), gif.begin() + 13);
            for (size_t i = below(7); i > 0; --i) {
                const size_t kind = below(8);
                zvtest::append(file, kind == 0   ? noise(40)
                                     : kind == 1 ? broken[below(broken.size())]
                                                 : sound[below(sound.size())]);
            }
            file.push_back(0x3B);
            return file;
        },
        true);
}

TEST_F(RandomFiles, Png) {
    const std::vector<Chunk> chunks = zvtest::chunksOf(withProfile("made.png", zvtest::plainPng()));
    const char* const types[] = {"iCCP", "sRGB", "zTXt", "cICP", "PLTE", "IDAT", "IEND"};
    tryAll(
        "a.png",
        [&] {
            std::vector<Chunk> all = chunks;
            for (size_t i = below(5); i > 0; --i) {
                const auto at = static_cast<std::ptrdiff_t>(below(all.size() + 1));
                const bool known = below(2) == 0;
                all.insert(all.begin() + at,
                           known ? chunks[below(chunks.size())] : Chunk{types[below(std::size(types))], noise(60)});
            }
            if (below(3) == 0) {
                all.erase(all.begin() + static_cast<std::ptrdiff_t>(below(all.size())));
            }
            return zvtest::pngOf(all);
        },
        true);
}

TEST_F(RandomFiles, Eps) {
    const std::string block = zvtest::epsBlock(profile_, "\n");
    const std::vector<std::string> pieces = {
        block, "%%BeginICCProfile:",   "%%EndICCProfile\n", "% 00ff\n", "% 0\r\n", "%%EndComments\n", "showpage\n",
        "\r",  std::string(70000, 'f')};
    tryAll(
        "a.eps",
        [&] {
            std::string text = "%!PS-Adobe-3.0 EPSF-3.0\n";
            for (size_t i = below(8); i > 0; --i) {
                const Bytes bytes = noise(40);
                text += below(8) == 0 ? std::string(bytes.begin(), bytes.end()) : pieces[below(pieces.size())];
            }
            Bytes file = below(2) == 0 ? Bytes(text.begin(), text.end()) : zvtest::inBinaryFrame(text);
            if (below(4) == 0 && file.size() > 20) {
                file[4 + below(12)] = static_cast<uint8_t>(random_());
            }
            return file;
        },
        false);
}

TEST_F(EmbeddedDamage, TiffDirectoriesThatMislead) {
    zvtest::writeTiff(path("a.tif"), zvtest::tiffVariants()[0], profile_);
    const Bytes good = zvtest::readFile(path("a.tif"));
    const size_t directory = zvtest::get32({good[7], good[6], good[5], good[4]}, 0);
    const size_t count = littleWord(good, directory);
    const size_t next = directory + 2 + 12 * count;
    // A directory that follows itself: the first is all that counts.
    Bytes file = good;
    putLittle(file, next, static_cast<uint32_t>(directory));
    EXPECT_EQ(tryExtract("a.tif", file), profile_);
    tryEmbed("a.tif", file);
    for (const uint32_t offset : {0U, 1U, static_cast<uint32_t>(good.size()), 0xFFFFFFFFU}) {
        file = good;
        putLittle(file, 4, offset);
        EXPECT_NE(tryExtract("a.tif", file), profile_) << offset;
        tryEmbed("a.tif", file);
    }
    file = good;
    putLittle(file, directory, 0xFFFF, 2);
    EXPECT_NE(tryExtract("a.tif", file), profile_);
    tryEmbed("a.tif", file);
    size_t entry = directory + 2;
    while (entry < next && littleWord(good, entry) != 34675) {
        entry += 12;
    }
    ASSERT_LT(entry, next);
    // Sizes and places of the profile that lie outside the file.
    for (const uint32_t size : {static_cast<uint32_t>(good.size()), 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        file = good;
        putLittle(file, entry + 4, size);
        refused("a.tif", file, "the profile in ");
    }
    for (const uint32_t offset : {static_cast<uint32_t>(good.size() - 1), 0xFFFFFFFFU}) {
        file = good;
        putLittle(file, entry + 8, offset);
        refused("a.tif", file, "the profile in ");
    }
}

TEST_F(EmbeddedDamage, PngChunksThatMislead) {
    const Bytes png = zvtest::plainPng();
    for (const uint32_t length : {0U, 12U, 14U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        Bytes file = png;
        zvtest::set32(file, 8, length);
        EXPECT_FALSE(tryEmbed("a.png", file)) << length;
        EXPECT_NE(tryExtract("a.png", file), profile_);
    }
    // A stream that unpacks to very much more than it has.
    std::vector<zvtest::Chunk> chunks = zvtest::chunksOf(withProfile("b.png", png));
    ASSERT_EQ(chunks[1].type, "iCCP");
    zvtest::shell("cd " + folder_.root() +
                  "; python3 -c \"import zlib,sys; "
                  "sys.stdout.buffer.write(b'x\\0\\0' + zlib.compress(b'\\x30' + bytes(200 << 20), 9))\" > bomb");
    chunks[1].data = zvtest::readFile(path("bomb"));
    zvtest::writeFile(path("a.png"), zvtest::pngOf(chunks));
    const Outcome outcome = runTool({"extract", path("a.png"), path("out.icc")});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
}

TEST_F(EmbeddedDamage, GifBlocksThatMislead) {
    const Bytes gif = zvtest::plainGif();
    Bytes file = gif;
    file.back() = 0x99;
    refused("a.gif", file, "a block of the unknown kind 153");
    EXPECT_FALSE(tryEmbed("a.gif", file));
    // Its profile has no end.
    file = zvtest::gifWithProfile(gif, profile_);
    file.pop_back();
    file.pop_back();
    refused("a.gif", file, "it ends too early");
    file = gif;
    file.pop_back();
    for (int i = 0; i < 600; ++i) {
        Bytes head;
        zvtest::appendText(head, std::string_view("\x21\xFF\x0BICCRGBG1\0\1\2", 14));
        zvtest::append(file, head);
        zvtest::append(file, Bytes{1, 'x', 0});
    }
    file.push_back(0x3B);
    EXPECT_EQ(tryExtract("a.gif", file), Bytes{'x'});
}

TEST_F(EmbeddedDamage, AGifProfileWithoutEndIsBounded) {
    Bytes file = zvtest::plainGif();
    file.pop_back();
    zvtest::appendText(file, std::string_view("\x21\xFF\x0BICCRGBG1\0\1\2", 14));
    file.resize(file.size() + (size_t{65} << 20), 0xFF);
    refused("a.gif", file, "larger than 64 MB");
}

}  // namespace
