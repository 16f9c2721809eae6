// zvclr: converts image files from one colour space to another.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "convert.h"
#include "image/image.h"
#include "image/output_file.h"
#include "zvclr.h"

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2 };

const char* const kConvertFooter = R"(
Formats: PNG, JPEG, TIFF, PNM and raw pixels. The input format is told by the contents of the file, that of
raw pixels by the extension (.raw, .bin, .data or the name of a space) or by --input-format; the output format
by the extension or by --output-format.

  png, pnm   hold rgb
  jpeg       holds rgb, cmyk, ycck
  tiff       holds rgb, cmyk, lab
  raw        holds every space ("zvclr spaces" lists them) and needs --from and --size as input

Methods:

  icc         by the profiles of the library: from every space to cmyk, cmy and lab, and from these and ycck to
              every space but ycck. It is the default there. A side that no profile describes is converted from
              or to rgb by formulas. --white goes with it
  custom-icc  by --input-profile and --output-profile, between rgb or bgr and rgb, bgr, cmyk, cmy or lab, or from
              cmyk, cmy or lab to the same. --white goes with it
  builtin     by formulas, between all spaces. --gcr and --lab-params go with it alone

Lab pixels have signed a and b whatever the method, but for raw files with --lab-params.

Examples:
  zvclr convert photo.png press.tif --to cmyk
  zvclr convert press.tif proof.png --to rgb
  zvclr convert photo.png press.tif --to cmyk --input-profile camera.icc --output-profile press.icc
  zvclr convert photo.png photo.tif --to cmyk --method builtin --gcr 500
  zvclr convert frame.yuv frame.png --from yuv --to rgb --size 640x480 \
      --yuv-params uSampleX=2,uSampleY=2,vSampleX=2,vSampleY=2,planar=1,order=YUV
  zvclr convert - - --output-format raw --to uyvy < photo.png > photo.uyvy

Exit codes: 0 done, 1 it failed, 2 wrong usage or a contradiction.)";

void addMethodOptions(CLI::App* convert, zvtool::ConvertArguments& args) {
    convert
        ->add_option("--method", args.method,
                     "builtin, icc or custom-icc; the default follows from the spaces, see below")
        ->check(CLI::IsMember({"builtin", "icc", "custom-icc"}));
    convert->add_option("--input-profile", args.inputProfile,
                        "ICC profile of the input; implies --method custom-icc and goes with --output-profile");
    convert->add_option("--output-profile", args.outputProfile,
                        "ICC profile of the output; implies --method custom-icc and goes with --input-profile");
    convert->add_option("--white", args.white,
                        "White point of the ICC methods: D50 (default), D55, D65, D75, D93, or a chromaticity x,y");
}

CLI::App* addConvert(CLI::App& app, zvtool::ConvertArguments& args) {
    CLI::App* convert = app.add_subcommand("convert", "Convert an image to another colour space");
    convert->add_option("IN", args.input, "Image to read; - is the standard input")->required();
    convert->add_option("OUT", args.output, "Image to write; - is the standard output")->required();
    convert->add_option("--to", args.to, "Colour space of the output")->required();
    convert->add_option("--from", args.from, "Colour space of the input; files other than raw tell it themselves");
    convert->add_option("--size", args.size, "Width and height of raw input, for example 640x480");
    convert->add_option("--input-format", args.inputFormat, "png, jpeg, tiff, pnm or raw");
    convert->add_option("--output-format", args.outputFormat, "png, jpeg, tiff, pnm or raw");
    addMethodOptions(convert, args);
    convert
        ->add_option("--gcr", args.gcrLevel,
                     "Grey component replacement in thousandths, with cmyk only; 175 unless given. Below 250 black ink "
                     "has no influence on the way from cmyk")
        ->check(CLI::Range(0, 1000));
    convert->add_option("--lab-params", args.labParams,
                        "Encoding of raw lab in three unsigned bytes: lOffset,lRange,aOffset,aRange,bOffset,bRange");
    convert->add_option("--yuv-params", args.yuvParams,
                        "Layout of raw yuv input: uSampleX=, uSampleY=, vSampleX=, vSampleY=, fullRange=, planar=1, "
                        "order= or planar=0, macroPixelSize=, positions=");
    convert->add_option("--quality", args.quality, "JPEG quality; 92 unless given")->check(CLI::Range(1, 100));
    convert->add_option("--compression", args.compression, "TIFF compression: none, lzw (default) or deflate")
        ->check(CLI::IsMember({"none", "lzw", "deflate"}));
    convert->add_flag("--quiet,-q", args.quiet, "No notes and no progress line");
    convert->footer(kConvertFooter);
    return convert;
}

int fail(ExitCode code, const char* text) {
    fmt::print(stderr, "zvclr: error: {}\n", text);
    return code;
}

int runCommand(const CLI::App* convert, const zvtool::ConvertArguments& args) {
    try {
        if (convert->parsed()) {
            zvimage::removeTemporaryOnSignals();
            zvtool::runConvert(args);
        } else {
            fmt::print("{}", zvtool::spacesTable());
        }
    } catch (const zvimage::ContradictionError& error) {
        return fail(kUsage, error.what());
    } catch (const std::bad_alloc&) {
        return fail(kFailed, "memory has run out");
    } catch (const std::exception& error) {
        return fail(kFailed, error.what());
    }
    if (std::fflush(stdout) != 0) {
        return fail(kFailed, "cannot write the standard output");
    }
    return kDone;
}

int run(int argc, char** argv) {
    CLI::App app("Converts images between the colour spaces of the zvclr library.", "zvclr");
    app.set_version_flag("--version", std::string("zvclr ") + ZVCLR_VERSION_STRING);
    app.require_subcommand(1);
    zvtool::ConvertArguments args;
    const CLI::App* convert = addConvert(app, args);
    app.add_subcommand("spaces", "List the colour spaces");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& done) {
        return app.exit(done);
    } catch (const CLI::ParseError& error) {
        fmt::print(stderr, "zvclr: error: {}\nRun with --help for more information.\n", error.what());
        return kUsage;
    }
    return runCommand(convert, args);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zvclr: error: %s\n", error.what());
        return kFailed;
    }
}
