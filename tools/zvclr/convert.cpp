#include "convert.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "embed_choice.h"
#include "emulation_table.h"
#include "messages.h"
#include "parameters.h"
#include "profile_file.h"
#include "strip_converter.h"

namespace zvtool {

using zvimage::ContradictionError;
using zvimage::Format;
using zvimage::ImageError;
using zvimage::ImageInfo;

namespace {

/// In place of a file: the profile of the input image. A file of this name is given as ./embedded.
constexpr char kEmbedded[] = "embedded";

// What a person sees on the error stream beside errors.
class Progress {
public:
    Progress(bool quiet, int32_t height) : shown_(!quiet && ::isatty(STDERR_FILENO) == 1), height_(height) {}

    void rows(int32_t done) {
        const int percent = static_cast<int>(int64_t{done} * 100 / height_);
        if (shown_ && percent != percent_) {
            percent_ = percent;
            fmt::print(stderr, "\rrow {} of {} ({} %)", done, height_, percent);
            std::fflush(stderr);
        }
    }

    /// Takes the line away.
    void clear() {
        if (shown_ && percent_ >= 0) {
            fmt::print(stderr, "\r\x1b[K");
            percent_ = -1;
        }
    }

    void summary(const std::string& text) {
        clear();
        if (shown_) {
            fmt::print(stderr, "{}\n", text);
        }
    }

private:
    bool shown_;
    int32_t height_;
    int percent_ = -1;
};

class ConvertCommand {
public:
    explicit ConvertCommand(const ConvertArguments& arguments) : args_(arguments) {}

    void run() {
        parse();
        reader_ = zvimage::openImage(args_.input, readOptions_);
        const ImageInfo& info = reader_->info();
        conversion_.from = info.space;
        settleMethod();
        settleParameters();
        zvimage::checkOutput(args_.output, outputFormat_, conversion_.to, info.width, info.height);
        checkNoTerminal(args_.output, "an image");
        if (args_.embed) {
            writeOptions_.profile = chooseProfile(
                {inputName(), args_.output, outputFormat_, conversion_, info.profile, info.profileProblem});
        }
        if (!args_.quiet) {
            printNotes(args_.input, info.notes);
            printNotes(args_.table, tableNotes_);
        }
        convert();
    }

private:
    void parse() {
        if (!args_.from.empty()) {
            readOptions_.space = parseSpace("--from", args_.from);
        }
        conversion_.to = parseSpace("--to", args_.to);
        if (!args_.inputFormat.empty()) {
            readOptions_.format = parseFormat("--input-format", args_.inputFormat);
        }
        if (!args_.outputFormat.empty()) {
            writeOptions_.format = parseFormat("--output-format", args_.outputFormat);
        }
        outputFormat_ = zvimage::outputFormat(args_.output, writeOptions_.format);
        writeOptions_.format = outputFormat_;
        if (!args_.size.empty()) {
            std::tie(readOptions_.width, readOptions_.height) = parseSize(args_.size);
        }
        if (!args_.yuvParams.empty()) {
            parseYuv();
        }
        if (args_.quality && outputFormat_ != Format::kJpeg) {
            throw ContradictionError("--quality goes with JPEG output only; leave it out");
        }
        if (!args_.compression.empty() && outputFormat_ != Format::kTiff) {
            throw ContradictionError("--compression goes with TIFF output only; leave it out");
        }
        writeOptions_.quality = args_.quality.value_or(writeOptions_.quality);
        if (!args_.compression.empty()) {
            writeOptions_.compression = parseCompression(args_.compression);
        }
        readOptions_.profile = args_.embed || args_.inputProfile == kEmbedded;
    }

    void parseYuv() {
        if (readOptions_.space != CLRSPACE_YUV) {
            throw ContradictionError("--yuv-params describes raw yuv input; give --from yuv or leave it out");
        }
        conversion_.sourceYuv = parseYuvParams(args_.yuvParams);
        readOptions_.layout = conversion_.sourceYuv->rawLayout();
    }

    std::string pairText() const {
        return fmt::format("{} to {}", zvimage::spaceOf(conversion_.from).name, zvimage::spaceOf(conversion_.to).name);
    }

    void settleMethod() {
        const int32_t from = conversion_.from;
        const int32_t to = conversion_.to;
        const bool profiles = !args_.inputProfile.empty() || !args_.outputProfile.empty();
        const bool table = !args_.table.empty();
        const char* const profileOption = args_.inputProfile.empty() ? "--output-profile" : "--input-profile";
        conversion_.method = profiles ? Method::kCustomIcc : table ? Method::kCustomEmulation : defaultMethod(from, to);
        if (profiles && table) {
            throw ContradictionError(fmt::format(
                "{} means --method custom-icc and --table means --method custom-emulation; leave one of them out",
                profileOption));
        }
        if (const std::optional<Method> named = methodFromName(args_.method)) {
            if ((profiles || table) && *named != conversion_.method) {
                throw ContradictionError(
                    fmt::format("{} goes with --method {} only, but --method {} was given; leave one of them out",
                                profiles ? profileOption : "--table", methodName(conversion_.method), args_.method));
            }
            conversion_.method = *named;
        }
        if (conversion_.method == Method::kIcc && !iccServes(from, to)) {
            throw ContradictionError(
                fmt::format("--method icc converts to cmyk, cmy or lab, and from these and ycck to all but ycck, but "
                            "not {}; use --method builtin",
                            pairText()));
        }
        if (conversion_.method == Method::kCustomIcc) {
            settleProfiles();
        }
        if (conversion_.method == Method::kEmulation || conversion_.method == Method::kCustomEmulation) {
            settleTable();
        }
        if (!args_.white.empty()) {
            settleWhite();
        }
    }

    void settleTable() {
        const char* const method = methodName(conversion_.method);
        if (conversion_.to == CLRSPACE_CMYK) {
            throw ContradictionError(fmt::format(
                "--method {} has no table to cmyk; use --method icc for the press, or --method builtin", method));
        }
        if (!emulationServes(conversion_.from, conversion_.to)) {
            throw ContradictionError(fmt::format(
                "--method {} converts from cmyk and lab to all spaces but cmyk, and from all spaces to lab, but not "
                "{}; leave it out",
                method, pairText()));
        }
        if (conversion_.method == Method::kEmulation) {
            return;
        }
        if (args_.table.empty()) {
            throw ContradictionError(
                "--method custom-emulation needs a table, but --table is missing; add it, or use --method emulation "
                "for the tables of the library");
        }
        const TableGrid* grid = onlyTable(conversion_.from, conversion_.to);
        if (grid == nullptr) {
            throw ContradictionError(fmt::format(
                "{} goes through two tables, but --table names one; go through rgb in two runs", pairText()));
        }
        tableNotes_ = checkTable(args_.table, *grid);
        conversion_.table = args_.table;
    }

    void settleProfiles() {
        const int32_t from = conversion_.from;
        const int32_t to = conversion_.to;
        if (!customIccServes(from, to)) {
            throw ContradictionError(
                fmt::format("--method custom-icc converts between rgb or bgr and rgb, bgr, cmyk, cmy or lab, and from "
                            "cmyk, cmy or lab to the same, but not {}; go through rgb in two runs",
                            pairText()));
        }
        if (args_.inputProfile.empty() || args_.outputProfile.empty()) {
            throw ContradictionError(
                fmt::format("--method custom-icc needs a profile for each side, but {} is missing; add it, or use "
                            "--method icc for the profiles of the library",
                            args_.inputProfile.empty() ? "--input-profile" : "--output-profile"));
        }
        conversion_.inputProfile = inputProfile();
        conversion_.outputProfile =
            readProfile({"--output-profile", args_.outputProfile, to, "the output is to be", "another --to"});
    }

    std::string inputName() const { return args_.input == "-" ? "standard input" : args_.input; }

    std::vector<uint8_t> inputProfile() const {
        ProfileRequest request = {"--input-profile", args_.inputProfile, conversion_.from, "the picture holds",
                                  "another picture"};
        if (args_.inputProfile != kEmbedded) {
            return readProfile(request);
        }
        const ImageInfo& info = reader_->info();
        if (info.profile.empty()) {
            throw ContradictionError(fmt::format(
                "{} ({}) has no embedded profile{}; give --input-profile a file", inputName(), info.description,
                info.profileProblem.empty() ? "" : " that can be used: " + info.profileProblem));
        }
        request.path = "the profile in " + inputName();
        checkProfile(request, info.profile);
        return info.profile;
    }

    void settleWhite() {
        if (conversion_.method != Method::kIcc && conversion_.method != Method::kCustomIcc) {
            throw ContradictionError(
                fmt::format("--white goes with --method icc and custom-icc only, but {} goes by --method {}; "
                            "leave it out",
                            pairText(), methodName(conversion_.method)));
        }
        const ClrWhitePoint white = parseWhite(args_.white);
        if (conversion_.method == Method::kIcc && !isProfiled(conversion_.to)) {
            throw ContradictionError(fmt::format(
                "--white has nothing to do, as {} does not depend on it with --method icc; leave it out", pairText()));
        }
        if (conversion_.from == conversion_.to && white.whiteCode == 0) {
            throw ContradictionError(
                fmt::format("--white as x,y does not go with {}; name it as D50, D55, D65, D75 or D93", pairText()));
        }
        conversion_.white = white;
    }

    // With these the formulas are meant, whose colours are others than those of profiles.
    void requireBuiltin(const char* option) const {
        if (conversion_.method != Method::kBuiltin) {
            throw ContradictionError(
                fmt::format("{} goes with --method builtin only, but {} goes by --method {}; add --method builtin or "
                            "leave {} out",
                            option, pairText(), methodName(conversion_.method), option));
        }
    }

    void settleParameters() {
        const bool copy = conversion_.from == conversion_.to;
        if (args_.gcrLevel) {
            if (conversion_.from != CLRSPACE_CMYK && conversion_.to != CLRSPACE_CMYK) {
                throw ContradictionError(
                    fmt::format("--gcr goes with cmyk only, but {} is converted to {}; leave it out",
                                zvimage::spaceOf(conversion_.from).name, zvimage::spaceOf(conversion_.to).name));
            }
            requireBuiltin("--gcr");
            if (copy) {
                throw ContradictionError("--gcr has nothing to do, as cmyk to cmyk is copied; leave it out");
            }
            conversion_.gcrLevel = args_.gcrLevel;
        }
        if (!args_.labParams.empty()) {
            settleLab(parseLabParams(args_.labParams));
        }
    }

    void settleLab(const ClrLabParams& params) {
        const bool source = conversion_.from == CLRSPACE_LAB;
        const bool destination = conversion_.to == CLRSPACE_LAB;
        if (!source && !destination) {
            throw ContradictionError(
                fmt::format("--lab-params goes with lab only, but {} is converted to {}; leave it out",
                            zvimage::spaceOf(conversion_.from).name, zvimage::spaceOf(conversion_.to).name));
        }
        requireBuiltin("--lab-params");
        const bool rawSource = source && reader_->info().format == Format::kRaw;
        const bool rawDestination = destination && outputFormat_ == Format::kRaw;
        if (!rawSource && !rawDestination) {
            throw ContradictionError(
                "--lab-params describes raw lab pixels, but the lab pixels are in a TIFF file, whose encoding is "
                "fixed; "
                "leave it out or use a raw file");
        }
        if (rawSource && rawDestination) {
            throw ContradictionError("--lab-params has nothing to do, as lab to lab is copied; leave it out");
        }
        (rawSource ? conversion_.sourceLab : conversion_.destinationLab) = params;
    }

    StripConverter createConverter() const {
        try {
            return StripConverter(conversion_);
        } catch (const LibraryError& error) {
            if (conversion_.method == Method::kEmulation && error.code() == ERR_METHOD_UNAVAILABLE) {
                throw ImageError(
                    fmt::format("the library carries no emulation table for {}; give one by --table", pairText()));
            }
            if (conversion_.method == Method::kCustomEmulation) {
                throw ImageError(
                    fmt::format("the table {} cannot be used from {}: {}", args_.table, pairText(), error.what()));
            }
            if (conversion_.method != Method::kCustomIcc) {
                throw;
            }
            throw ImageError(fmt::format("the profiles {} and {} are damaged or cannot be used from {}: {}",
                                         args_.inputProfile, args_.outputProfile, pairText(), error.what()));
        }
    }

    void convert() {
        const ImageInfo& info = reader_->info();
        StripConverter converter = createConverter();
        const int32_t rows = std::min(info.height, stripRows(info.width, info.rowUnit, conversion_));
        std::vector<uint8_t> source(converter.sourceBytes(info.width, rows));
        std::vector<uint8_t> destination(converter.copies() ? 0 : converter.destinationBytes(info.width, rows));
        const auto writer = zvimage::createImage(args_.output, info.width, info.height, conversion_.to, writeOptions_);
        Progress progress(args_.quiet, info.height);
        try {
            for (int32_t row = 0; row < info.height; row += rows) {
                const int32_t count = std::min(rows, info.height - row);
                reader_->readRows(source.data(), count);
                if (!converter.copies()) {
                    converter.convert(source.data(), destination.data(), info.width, count);
                }
                writer->writeRows(converter.copies() ? source.data() : destination.data(), count);
                progress.rows(row + count);
            }
            reader_->finish();
            writer->finish();
        } catch (...) {
            progress.clear();
            throw;
        }
        progress.summary(fmt::format(
            "wrote {}: {}, {}, {} x {} pixels", args_.output == "-" ? "standard output" : args_.output,
            zvimage::formatName(outputFormat_), zvimage::spaceOf(conversion_.to).name, info.width, info.height));
    }

    const ConvertArguments& args_;
    zvimage::ReadOptions readOptions_;
    zvimage::WriteOptions writeOptions_;
    Format outputFormat_ = Format::kRaw;
    Conversion conversion_;
    std::vector<std::string> tableNotes_;
    std::unique_ptr<zvimage::ImageReader> reader_;
};

}  // namespace

void runConvert(const ConvertArguments& arguments) { ConvertCommand(arguments).run(); }

}  // namespace zvtool
