// zvclr: converts image files from one colour space to another, and handles the ICC profiles in them.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <functional>
#include <vector>

#include "convert.h"
#include "embed_command.h"
#include "extract_command.h"
#include "image/image.h"
#include "image/output_file.h"
#include "info_command.h"
#include "settings_command.h"
#include "table_command.h"
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
  emulation   by the tables of the library, fast and coarse: from cmyk and lab to every space but cmyk, and from
              every space to lab. A side without a table is converted from or to rgb by formulas
  custom-emulation
              the same by --table, a file that "zvclr table" makes; cmyk to lab goes in two runs
  builtin     by formulas, between all spaces. --gcr and --lab-params go with it alone

Profiles in images:

  --input-profile embedded
              takes the profile that is in the input (PNG, JPEG, TIFF). A file of that name is ./embedded
  --embed     puts the profile that describes the pixels into the output (PNG, JPEG, TIFF): --output-profile; with
              --method icc the library's profile of the output; with formulas to rgb the library's sRGB profile; and
              where pixels are copied that of the input. Else there is none, and the conversion is refused

Lab pixels have signed a and b whatever the method, but for raw files with --lab-params.

Examples:
  zvclr convert photo.png press.tif --to cmyk
  zvclr convert press.tif proof.png --to rgb
  zvclr convert photo.png press.tif --to cmyk --input-profile camera.icc --output-profile press.icc
  zvclr convert photo.jpg press.tif --to cmyk --input-profile embedded --output-profile press.icc --embed
  zvclr convert photo.png photo.tif --to cmyk --method builtin --gcr 500
  zvclr convert press.tif proof.png --to rgb --method emulation
  zvclr convert press.tif proof.png --to rgb --table printer.tif
  zvclr convert frame.yuv frame.png --from yuv --to rgb --size 640x480 \
      --yuv-params uSampleX=2,uSampleY=2,vSampleX=2,vSampleY=2,planar=1,order=YUV
  zvclr convert - - --output-format raw --to uyvy < photo.png > photo.uyvy

Exit codes: 0 done, 1 it failed, 2 wrong usage or a contradiction.)";

const char* const kTableFooter = R"(
A table says what a device or process makes of a grid of colours. To get one, let the process convert or print
the chart, and read the picture of the outcome:

  zvclr table make chart.tif --patch 8
  (print chart.tif, scan the print, crop the scan to the edges of the chart)
  zvclr table read scan.tif printer.tif
  zvclr convert press.tif proof.png --to rgb --table printer.tif

There are tables from cmyk to rgb (289 x 289 patches), from rgb to lab and from lab to rgb (190 x 190).)";

const char* const kInfoFooter = R"(
FILE is a profile, or an image with one in it (JPEG, TIFF, PNG, GIF, EPS, Macintosh picture), as for zvclr extract.

It shows the header in plain words, the table of tags with the places of their bodies, what is in every tag, what
the converters of the library would take of the profile, and problems in four levels:

  error     the file breaks its own structure: bodies outside the data, fields that count past their body
  warning   the standard is broken: tags missing, wrong types, bad alignment, overlaps, reserved bytes, bad numbers
  note      what is unusual: other versions, private tags, gaps
  hint      what would make the profile better, also for the converters

Profiles of version 2 are read too: by the library where its records fit, and by their bytes otherwise, as the
lines in brackets tell. Numbers of 16.16 bits are shown with five decimals.

Exit codes: 0 done, 1 no profile, or it cannot be read or with --strict has errors or warnings, 2 wrong usage.)";

const char* const kExtractFooter = R"(
Where profiles are found:

  JPEG    in APP2 markers. Their parts are joined in the order of their numbers, and a warning tells when they stand in
          another order or are missing
  TIFF    in tag 34675 of the first directory
  PNG     in the iCCP chunk
  GIF     in ICCRGBG1 extensions, of which the last one counts
  EPS     between %%BeginICCProfile and %%EndICCProfile. It is read by the tool itself, since the library drops the
          last bytes
  Macintosh picture
          in comments

Bytes behind the end that a profile states are left out.

Exit codes: 0 done, 1 there is no profile or it cannot be read, 2 wrong usage.)";

const char* const kEmbedFooter = R"(
Where profiles go:

  JPEG    into APP2 markers, in place of a profile before. Up to 16,707,345 bytes
  TIFF    into tag 34675 of the first directory, in place of a profile before, whose bytes stay in the file unused
  PNG     into an iCCP chunk, in place of iCCP and sRGB chunks before
  GIF     into an ICCRGBG1 extension at the end. One more is added each time; readers take the last one

Pixels are not touched. The image is written anew and takes its name when it is complete; until then the old file
stays as it is.

The profile must be an ICC profile of a colour space or device, for pixels such as the image has. Whether it describes
them well, nobody checks: to change pixels to a profile, use zvclr convert.

Examples:
  zvclr embed camera.icc photo.jpg
  zvclr embed press.icc page.tif --backup page.old.tif

Exit codes: 0 done, 1 it failed, 2 wrong usage or a contradiction.)";

const char* const kSettingsFooter = R"(
The dialog is that of the library's Zv_ClrDlg. What it hands back is printed in two forms:

  options   one line of options for zvclr convert, quoted for a shell. --to, and where needed --from, are yours
  json      the record, field by field

Notes on the error stream tell what has no option. What is typed for x, y and GCR is not taken over by the dialogs: GCR
is 250. The CMYK dialog exchanges the two profiles if "RGB to CMYK" is ticked. The CIELab dialog makes a converter from
rgb to lab to see whether it can be made; the options are printed also when it cannot.

The program zvclr-settings shows the window, and must be installed beside this one or beside the library.

Examples:
  zvclr settings cmyk
  options=$(zvclr settings cmyk --format options) &&
      eval "zvclr convert photo.png press.tif --to cmyk $options"
  zvclr settings lab --format json > settings.json

Exit codes: 0 done, 1 nothing was chosen or no converter can be made, 2 wrong usage.)";

void addMethodOptions(CLI::App* convert, zvtool::ConvertArguments& args) {
    convert
        ->add_option("--method", args.method,
                     "builtin, icc, custom-icc, emulation or custom-emulation; the default follows from the spaces, "
                     "see below")
        ->check(CLI::IsMember({"builtin", "icc", "custom-icc", "emulation", "custom-emulation"}));
    convert->add_option(
        "--input-profile", args.inputProfile,
        "ICC profile of the input, or \"embedded\" for the one that is in it; implies --method custom-icc "
        "and goes with --output-profile");
    convert->add_option("--output-profile", args.outputProfile,
                        "ICC profile of the output; implies --method custom-icc and goes with --input-profile");
    convert->add_option("--white", args.white,
                        "White point of the ICC methods: D50 (default), D55, D65, D75, D93, or a chromaticity x,y");
    convert->add_option("--table", args.table, "Emulation table in a TIFF file; implies --method custom-emulation");
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
    convert->add_flag("--embed", args.embed, "Put the profile that describes the pixels into the output, see below");
    convert->add_flag("--quiet,-q", args.quiet, "No notes and no progress line");
    convert->footer(kConvertFooter);
    return convert;
}

void addTableSpaces(CLI::App* command, zvtool::TableArguments& args) {
    command->add_option("--from", args.from, "Colour space that the table is from; cmyk unless given");
    command->add_option("--to", args.to, "Colour space that the table is to; rgb unless given");
}

CLI::App* addTableMake(CLI::App* table, zvtool::TableArguments& args) {
    CLI::App* make = table->add_subcommand("make", "Write the chart whose picture makes a table");
    make->add_option("OUT", args.output, "TIFF file to write; - is the standard output")->required();
    addTableSpaces(make, args);
    make->add_option("--patch", args.patch, "Pixels on each side of a patch; 1 unless given")
        ->check(CLI::Range(1, zvtool::kLargestPatch));
    return make;
}

CLI::App* addTableRead(CLI::App* table, zvtool::TableArguments& args) {
    CLI::App* read = table->add_subcommand("read", "Make a table of a picture of the chart");
    read->add_option("IN", args.input, "Upright picture of the chart in rgb or lab, cropped to the chart's edges")
        ->required();
    read->add_option("OUT", args.output, "TIFF file to write; - is the standard output")->required();
    addTableSpaces(read, args);
    read->add_option("--size", args.size, "Width and height of raw input, which is of the space of --to");
    read->add_option("--input-format", args.inputFormat, "png, jpeg, tiff, pnm or raw");
    read->add_flag("--quiet,-q", args.quiet, "No notes");
    return read;
}

CLI::App* addInfo(CLI::App& app, zvtool::InfoArguments& args) {
    CLI::App* info = app.add_subcommand("info", "Tell what is in an ICC profile, or in that of an image");
    info->add_option("FILE", args.input, "ICC profile, or an image with one; - is a profile on the standard input")
        ->required();
    CLI::Option* json = info->add_flag("--json", args.json, "The report as JSON, for programs");
    info->add_flag("--svg", args.svg, "A picture of the tone curves and the chromaticities, as SVG")->excludes(json);
    info->add_flag("--all", args.all, "Tables and lists in full length");
    info->add_flag("--strict", args.strict, "Fail when there are errors or warnings");
    info->footer(kInfoFooter);
    return info;
}

CLI::App* addExtract(CLI::App& app, zvtool::ExtractArguments& args) {
    CLI::App* extract = app.add_subcommand("extract", "Take the ICC profile out of an image");
    extract->add_option("IMAGE", args.image, "JPEG, TIFF, PNG, GIF, EPS or Macintosh picture")->required();
    extract->add_option("OUT", args.output, "Profile to write; - is the standard output")->required();
    extract->add_flag("--quiet,-q", args.quiet, "No notes and no line at the end");
    extract->footer(kExtractFooter);
    return extract;
}

CLI::App* addEmbed(CLI::App& app, zvtool::EmbedArguments& args) {
    CLI::App* embed = app.add_subcommand("embed", "Put an ICC profile into an image");
    embed->add_option("PROFILE", args.profile, "ICC profile; - is the standard input")->required();
    embed->add_option("IMAGE", args.image, "JPEG, TIFF, PNG or GIF file, which is changed")->required();
    embed->add_option("--backup", args.backup, "Keep the file as it was under this name");
    embed->add_flag("--force", args.force, "Also a profile that does not fit the pixels");
    embed->add_flag("--quiet,-q", args.quiet, "No notes and no line at the end");
    embed->footer(kEmbedFooter);
    return embed;
}

CLI::App* addSettings(CLI::App& app, zvtool::SettingsArguments& args) {
    CLI::App* settings = app.add_subcommand("settings", "Choose parameters for zvclr convert in a dialog");
    settings->add_option("DIALOG", args.dialog, "cmyk or lab: the space on the other side of rgb")
        ->required()
        ->check(CLI::IsMember({"cmyk", "lab"}));
    settings->add_option("--format", args.format, "options or json; both unless given")
        ->check(CLI::IsMember({"options", "json"}));
    settings->add_option("--parent", args.parent, "Number of the X11 window that the dialog belongs to")
        ->check(CLI::NonNegativeNumber);
    settings->footer(kSettingsFooter);
    return settings;
}

int fail(ExitCode code, const char* text) {
    fmt::print(stderr, "zvclr: error: {}\n", text);
    return code;
}

struct Command {
    const CLI::App* parser;
    std::function<void()> run;
};

int runCommand(const std::vector<Command>& commands) {
    zvimage::removeTemporaryOnSignals();
    try {
        for (const Command& command : commands) {
            if (command.parser->parsed()) {
                command.run();
            }
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
    CLI::App app(
        "Converts images between the colour spaces of the zvclr library, and handles the ICC profiles in images.",
        "zvclr");
    app.set_version_flag("--version", std::string("zvclr ") + ZVCLR_VERSION_STRING);
    app.require_subcommand(1);
    zvtool::ConvertArguments convertArguments;
    zvtool::TableArguments chartArguments;
    zvtool::TableArguments tableArguments;
    const CLI::App* convert = addConvert(app, convertArguments);
    CLI::App* table = app.add_subcommand("table", "Make emulation tables for zvclr convert --table");
    table->require_subcommand(1);
    table->footer(kTableFooter);
    const CLI::App* make = addTableMake(table, chartArguments);
    const CLI::App* read = addTableRead(table, tableArguments);
    zvtool::InfoArguments infoArguments;
    const CLI::App* info = addInfo(app, infoArguments);
    zvtool::ExtractArguments extractArguments;
    const CLI::App* extract = addExtract(app, extractArguments);
    zvtool::EmbedArguments embedArguments;
    const CLI::App* embed = addEmbed(app, embedArguments);
    zvtool::SettingsArguments settingsArguments;
    const CLI::App* settings = addSettings(app, settingsArguments);
    const CLI::App* spaces = app.add_subcommand("spaces", "List the colour spaces");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& done) {
        return app.exit(done);
    } catch (const CLI::ParseError& error) {
        fmt::print(stderr, "zvclr: error: {}\nRun with --help for more information.\n", error.what());
        return kUsage;
    }
    return runCommand({{convert, [&] { zvtool::runConvert(convertArguments); }},
                       {make, [&] { zvtool::runTableMake(chartArguments); }},
                       {read, [&] { zvtool::runTableRead(tableArguments); }},
                       {info, [&] { zvtool::runInfo(infoArguments); }},
                       {extract, [&] { zvtool::runExtract(extractArguments); }},
                       {embed, [&] { zvtool::runEmbed(embedArguments); }},
                       {settings, [&] { zvtool::runSettings(settingsArguments); }},
                       {spaces, [] { fmt::print("{}", zvtool::spacesTable()); }}});
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
