#include "embed_command.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "embedded/embedded_profile.h"
#include "embedded/file_cursor.h"
#include "embedded/gif.h"
#include "embedded/image_colours.h"
#include "embedded/jpeg_limits.h"
#include "embedded/library_result.h"
#include "embedded/png_chunks.h"
#include "image/image.h"
#include "image/input_file.h"
#include "image/output_file.h"
#include "messages.h"
#include "profile/names.h"
#include "profile/node.h"
#include "profile/profile.h"
#include "zvicc.h"

namespace zvtool {

using zvembed::ImageKind;
using zvimage::ContradictionError;
using zvimage::ImageError;
using zvinfo::sig;

namespace {

void copyFile(zvimage::InputFile& file, zvimage::OutputFile& output) {
    constexpr uint64_t kPiece = 65536;
    zvembed::FileCursor cursor(file);
    while (cursor.left() > 0) {
        const std::vector<uint8_t> piece = cursor.take(std::min(cursor.left(), kPiece));
        output.write(piece.data(), piece.size());
    }
    if (cursor.failed()) {
        throw ImageError("cannot read " + file.name() + ": it became shorter meanwhile");
    }
}

class EmbedCommand {
public:
    explicit EmbedCommand(const EmbedArguments& arguments) : args_(arguments) {}

    void run() {
        if (args_.image == "-") {
            throw ContradictionError("the image is changed in its place; name a file");
        }
        zvembed::checkImageFile(args_.image);
        zvimage::InputFile file(args_.image);
        const ImageKind kind = kindOf(file);
        readProfile();
        if (!args_.force) {
            checkFit(kind, file);
        }
        checkPlaces();
        switch (kind) {
            case ImageKind::kJpeg:
                fitIntoMarkers();
                saveByLibrary();
                break;
            case ImageKind::kTiff:
                saveByLibrary();
                break;
            case ImageKind::kPng:
                savePng(file);
                break;
            default:
                saveGif(file);
        }
        if (!args_.quiet) {
            printSummary(summary(kind));
        }
    }

private:
    std::string summary(ImageKind kind) const {
        const std::string description = zvembed::describeProfile(profile_);
        return fmt::format("wrote {}: {}, with a profile of {} bytes{}", args_.image, zvembed::kindName(kind), size_,
                           description.empty() ? "" : ", \"" + description + "\"");
    }

    void note(const std::string& name, const std::string& text) const {
        if (!args_.quiet) {
            printNotes(name, {text});
        }
    }

    ImageKind kindOf(zvimage::InputFile& file) const {
        const std::optional<ImageKind> kind = zvembed::imageKind(file.peek(zvembed::kKindBytes));
        constexpr char kWhere[] = "but profiles go into JPEG, TIFF, PNG and GIF files only";
        if (!kind) {
            throw ImageError(fmt::format("{} is no image of a known kind, {}", args_.image, kWhere));
        }
        if (*kind == ImageKind::kEps) {
            throw ContradictionError(fmt::format("{} is an EPS file, {}", args_.image, kWhere));
        }
        return *kind;
    }

    void readProfile() {
        const std::string name = args_.profile == "-" ? "standard input" : args_.profile;
        const zvinfo::Profile profile(name, zvinfo::readProfileFile(args_.profile));
        space_ = profile.header().colorSpace;
        class_ = profile.header().deviceClass;
        isOld_ = profile.isOld();
        size_ = profile.size();
        profile_.assign(profile.bytes().begin(), profile.bytes().begin() + static_cast<std::ptrdiff_t>(size_));
        if (profile_.size() < profile.bytes().size()) {
            note(name, fmt::format("{} bytes behind the end of the profile are left out",
                                   profile.bytes().size() - profile_.size()));
        }
    }

    void checkFit(ImageKind kind, zvimage::InputFile& file) const {
        if (class_ == sig("link") || class_ == sig("abst") || class_ == sig("nmcl")) {
            throw ContradictionError(
                fmt::format("{} is of the class \"{}\" ({}), which describes no image; give the profile of a colour "
                            "space or device, or add --force",
                            args_.profile, zvinfo::readable(class_), zvinfo::className(class_)));
        }
        const zvembed::ImageColours colours = zvembed::readImageColours(kind, file);
        if (!colours.fit(space_)) {
            throw ContradictionError(
                fmt::format("{} is a profile for {}, but {} has {}; give a profile for these, or add --force",
                            args_.profile, zvinfo::readable(space_), args_.image, colours.text()));
        }
        constexpr size_t kPngMultiple = 4;
        if (kind == ImageKind::kPng && !isOld_ && profile_.size() % kPngMultiple != 0) {
            throw ContradictionError(
                fmt::format("{} has {} bytes, and readers of PNG files pass over profiles of version 4 whose size is "
                            "no multiple of 4; mend the profile, or add --force",
                            args_.profile, profile_.size()));
        }
    }

    static void checkWritable(const std::string& name, const std::string& path) {
        if (::access(path.c_str(), W_OK) != 0) {
            throw ImageError("cannot write " + name + ": " + std::strerror(errno));
        }
    }

    static void checkFolder(const std::string& name) {
        const std::string folder = std::filesystem::path(name).parent_path().string();
        checkWritable(name, folder.empty() ? "." : folder);
    }

    /// The library replaces a file by its folder's rights alone, and does not tell which file it cannot write.
    void checkPlaces() const {
        checkWritable(args_.image, args_.image);
        if (args_.backup.empty()) {
            return;
        }
        if (args_.backup == "-") {
            throw ContradictionError("--backup takes no standard output; name a file");
        }
        std::error_code ignored;
        if (std::filesystem::equivalent(args_.backup, args_.image, ignored)) {
            throw ContradictionError(fmt::format("--backup {} is the image itself; name another file", args_.backup));
        }
        if (std::filesystem::equivalent(args_.backup, args_.profile, ignored)) {
            throw ContradictionError(fmt::format("--backup {} is the profile; name another file", args_.backup));
        }
        checkFolder(args_.backup);
        const std::filesystem::file_status status = std::filesystem::status(args_.backup, ignored);
        if (std::filesystem::is_directory(status)) {
            throw ImageError("cannot write " + args_.backup + ": " + std::strerror(EISDIR));
        }
        if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
            throw ImageError("cannot write " + args_.backup + ": it is a pipe or device, which keeps nothing");
        }
    }

    void fitIntoMarkers() {
        const size_t padding = zvembed::jpegPadding(profile_.size());
        if (!zvembed::fitsIntoJpeg(profile_.size() + padding)) {
            throw ContradictionError(fmt::format("{} has {} bytes, and a JPEG file holds profiles of {} at most",
                                                 args_.profile, profile_.size(), zvembed::kLargestJpegProfile));
        }
        if (padding != 0) {
            note(args_.image, fmt::format("{} zero byte{} stand{} behind the profile's end, since its last part would "
                                          "be too long for a marker",
                                          padding, padding == 1 ? "" : "s", padding == 1 ? "s" : ""));
            profile_.resize(profile_.size() + padding);
        }
    }

    void save(const std::string& path, const SAVEFILEOPTIONA* options) {
        ClrIccProfile record = {};
        Zv_InitICCProfile(&record, sizeof record);
        record.profileData = profile_.data();
        record.profileSize = profile_.size();
        const int32_t result = Zv_SaveICCProfileA(path.c_str(), &record, options);
        if (result != CLR_SUCCESS) {
            throw ImageError(fmt::format("the profile cannot be put into {}: {}", args_.image,
                                         zvembed::libraryReason(result, {path, args_.backup})));
        }
    }

    void saveByLibrary() {
        SAVEFILEOPTIONA options = {};
        options.size = static_cast<uint32_t>(sizeof options);
        if (args_.backup.size() >= sizeof options.backupName) {
            throw ContradictionError(fmt::format("the name of --backup has {} bytes, and the most are {}",
                                                 args_.backup.size(), sizeof options.backupName - 1));
        }
        args_.backup.copy(options.backupName, sizeof options.backupName - 1);
        save(args_.image, &options);
    }

    void keepBackup(zvimage::InputFile& file) const {
        if (!args_.backup.empty()) {
            zvimage::OutputFile backup(args_.backup);
            // Whoever may not read the image shall not read its copy.
            std::filesystem::permissions(backup.temporary(), std::filesystem::status(args_.image).permissions());
            copyFile(file, backup);
            backup.commit();
        }
    }

    void savePng(zvimage::InputFile& file) const {
        zvimage::OutputFile output(args_.image);
        for (const std::string& text : zvembed::copyPngWithProfile(file, profile_, output)) {
            note(args_.image, text);
        }
        keepBackup(file);
        output.commit();
    }

    // The library writes into a GIF file as it stands, over its last byte, and tells of no failure: it gets a copy.
    void saveGif(zvimage::InputFile& file) {
        const zvembed::GifProfile before = zvembed::readGifProfile(file);
        if (!before.trailerIsLast) {
            throw ImageError(
                fmt::format("{} does not end with its trailer, where the profile would have to stand", args_.image));
        }
        zvimage::OutputFile output(args_.image);
        copyFile(file, output);
        output.handOver();
        save(output.temporary(), nullptr);
        zvimage::InputFile written(output.temporary());
        const zvembed::GifProfile after = zvembed::readGifProfile(written);
        if (!after.trailerIsLast || after.extensions != before.extensions + 1 || after.bytes != profile_) {
            throw ImageError("cannot write " + args_.image + ": the profile did not arrive whole");
        }
        if (before.extensions != 0) {
            note(args_.image, fmt::format("it has {} profile{} already, which readers pass over for the last one",
                                          before.extensions, before.extensions == 1 ? "" : "s"));
        }
        keepBackup(file);
        output.commit();
    }

    const EmbedArguments& args_;
    std::vector<uint8_t> profile_;  ///< with what an image needs behind it
    size_t size_ = 0;
    uint32_t space_ = 0;
    uint32_t class_ = 0;
    bool isOld_ = false;
};

}  // namespace

void runEmbed(const EmbedArguments& arguments) { EmbedCommand(arguments).run(); }

}  // namespace zvtool
