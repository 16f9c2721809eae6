#include "names.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace zvinfo {

namespace {

struct Name {
    const char* signature;
    const char* name;
};

constexpr Name kClasses[] = {
    {"scnr", "input device"},
    {"mntr", "display device"},
    {"prtr", "output device"},
    {"link", "device link"},
    {"spac", "colour space"},
    {"abst", "abstract"},
    {"nmcl", "named colours"},
    {"cenc", "colour encoding space"},
    {"mid ", "multiplex identification"},
    {"mlnk", "multiplex link"},
    {"mvis", "multiplex visualization"},
};

struct SpaceName {
    const char* signature;
    const char* name;
    uint32_t channels;
};

constexpr SpaceName kSpaces[] = {
    {"XYZ ", "CIE XYZ", 3},       {"Lab ", "CIE Lab", 3},       {"Luv ", "CIE Luv", 3},
    {"YCbr", "YCbCr", 3},         {"Yxy ", "CIE Yxy", 3},       {"RGB ", "RGB", 3},
    {"GRAY", "gray", 1},          {"HSV ", "HSV", 3},           {"HLS ", "HLS", 3},
    {"CMYK", "CMYK", 4},          {"CMY ", "CMY", 3},           {"1CLR", "1 colorant", 1},
    {"2CLR", "2 colorants", 2},   {"3CLR", "3 colorants", 3},   {"4CLR", "4 colorants", 4},
    {"5CLR", "5 colorants", 5},   {"6CLR", "6 colorants", 6},   {"7CLR", "7 colorants", 7},
    {"8CLR", "8 colorants", 8},   {"9CLR", "9 colorants", 9},   {"ACLR", "10 colorants", 10},
    {"BCLR", "11 colorants", 11}, {"CCLR", "12 colorants", 12}, {"DCLR", "13 colorants", 13},
    {"ECLR", "14 colorants", 14}, {"FCLR", "15 colorants", 15},
};

constexpr Name kPlatforms[] = {
    {"APPL", "Apple"}, {"MSFT", "Microsoft"}, {"SGI ", "Silicon Graphics"}, {"SUNW", "Sun"}, {"TGNT", "Taligent"},
};

constexpr Name kTypes[] = {
    {"bfd ", "under colour removal and black generation"},
    {"chrm", "chromaticities"},
    {"cicp", "code points of video"},
    {"clro", "colorant order"},
    {"clrt", "colorant table"},
    {"crdi", "names of rendering dictionaries"},
    {"curv", "curve"},
    {"data", "data"},
    {"desc", "text description"},
    {"devs", "device settings"},
    {"dict", "dictionary"},
    {"dtim", "date and time"},
    {"mAB ", "table from device, with curves"},
    {"mBA ", "table to device, with curves"},
    {"meas", "measurement conditions"},
    {"mft1", "table of 8-bit values"},
    {"mft2", "table of 16-bit values"},
    {"mluc", "localised text"},
    {"mpet", "processing elements"},
    {"ncl2", "named colours"},
    {"ncol", "named colours of version 2.0"},
    {"para", "parametric curve"},
    {"pseq", "profile sequence"},
    {"psid", "profile sequence identifiers"},
    {"rcs2", "response curves"},
    {"scrn", "screening"},
    {"sf32", "signed 16.16 numbers"},
    {"sig ", "signature"},
    {"text", "text"},
    {"uf32", "unsigned 16.16 numbers"},
    {"ui08", "8-bit numbers"},
    {"ui16", "16-bit numbers"},
    {"ui32", "32-bit numbers"},
    {"ui64", "64-bit numbers"},
    {"vcgt", "video card curves"},
    {"view", "viewing conditions"},
    {"XYZ ", "XYZ"},
};

constexpr Name kTechnologies[] = {
    {"fscn", "film scanner"},
    {"dcam", "digital camera"},
    {"rscn", "reflective scanner"},
    {"ijet", "ink jet printer"},
    {"twax", "thermal wax printer"},
    {"epho", "electrophotographic printer"},
    {"esta", "electrostatic printer"},
    {"dsub", "dye sublimation printer"},
    {"rpho", "photographic paper printer"},
    {"fprn", "film writer"},
    {"vidm", "video monitor"},
    {"vidc", "video camera"},
    {"pjtv", "projection television"},
    {"CRT ", "cathode ray tube display"},
    {"PMD ", "passive matrix display"},
    {"AMD ", "active matrix display"},
    {"LCD ", "liquid crystal display"},
    {"OLED", "organic LED display"},
    {"KPCD", "photo CD"},
    {"imgs", "photographic image setter"},
    {"grav", "gravure"},
    {"offs", "offset lithography"},
    {"silk", "silkscreen"},
    {"flex", "flexography"},
    {"mpfs", "motion picture film scanner"},
    {"mpfr", "motion picture film recorder"},
    {"dmpc", "digital motion picture camera"},
    {"dcpj", "digital cinema projector"},
};

constexpr Name kMeasurementUnits[] = {
    {"StaA", "status A densities"},
    {"StaE", "status E densities"},
    {"StaI", "status I densities"},
    {"StaT", "status T densities"},
    {"StaM", "status M densities"},
    {"DN  ", "DIN E densities without polarising filter"},
    {"DN P", "DIN E densities with polarising filter"},
    {"DNN ", "DIN I densities without polarising filter"},
    {"DNNP", "DIN I densities with polarising filter"},
};

constexpr Name kImageStates[] = {
    {"scoe", "scene colorimetry estimates"},         {"sape", "scene appearance estimates"},
    {"fpce", "focal plane colorimetry estimates"},   {"rhoc", "reflection hardcopy original colorimetry"},
    {"rpoc", "reflection print output colorimetry"},
};

constexpr Name kGamuts[] = {{"prmg", "perceptual reference medium gamut"}};

constexpr char kLutTypes2[] = "mft1 mft2";
constexpr char kLutTypesA[] = "mft1 mft2 mAB";
constexpr char kLutTypesB[] = "mft1 mft2 mBA";

constexpr TagName kTags[] = {
    {"A2B0", "device to connection space, perceptual", kLutTypes2, kLutTypesA},
    {"A2B1", "device to connection space, relative", kLutTypes2, kLutTypesA},
    {"A2B2", "device to connection space, saturation", kLutTypes2, kLutTypesA},
    {"B2A0", "connection space to device, perceptual", kLutTypes2, kLutTypesB},
    {"B2A1", "connection space to device, relative", kLutTypes2, kLutTypesB},
    {"B2A2", "connection space to device, saturation", kLutTypes2, kLutTypesB},
    {"D2B0", "device to connection space in floating point, perceptual", "", "mpet"},
    {"D2B1", "device to connection space in floating point, relative", "", "mpet"},
    {"D2B2", "device to connection space in floating point, saturation", "", "mpet"},
    {"D2B3", "device to connection space in floating point, absolute", "", "mpet"},
    {"B2D0", "connection space to device in floating point, perceptual", "", "mpet"},
    {"B2D1", "connection space to device in floating point, relative", "", "mpet"},
    {"B2D2", "connection space to device in floating point, saturation", "", "mpet"},
    {"B2D3", "connection space to device in floating point, absolute", "", "mpet"},
    {"bTRC", "tone curve of blue", "curv", "curv para"},
    {"bXYZ", "colorant of blue", "XYZ", "XYZ"},
    {"bfd ", "under colour removal and black generation", "bfd", ""},
    {"bkpt", "media black point", "XYZ", "XYZ", 0x04300000},
    {"calt", "calibration date and time", "dtim", "dtim"},
    {"chad", "chromatic adaptation", "sf32", "sf32"},
    {"chrm", "chromaticities of phosphors or colorants", "chrm", "chrm"},
    {"cicp", "code points of video", "", "cicp"},
    {"ciis", "image state", "", "sig"},
    {"clot", "colorant table of the output", "", "clrt"},
    {"clro", "colorant order", "clro", "clro"},
    {"clrt", "colorant table", "clrt", "clrt"},
    {"cprt", "copyright", "text", "mluc"},
    {"crdi", "names of rendering dictionaries", "crdi", ""},
    {"desc", "description of the profile", "desc", "mluc"},
    {"devs", "device settings", "devs", ""},
    {"dmdd", "description of the device model", "desc", "mluc"},
    {"dmnd", "description of the device manufacturer", "desc", "mluc"},
    {"gTRC", "tone curve of green", "curv", "curv para"},
    {"gXYZ", "colorant of green", "XYZ", "XYZ"},
    {"gamt", "out of gamut", kLutTypes2, kLutTypesB},
    {"kTRC", "tone curve of gray", "curv", "curv para"},
    {"lumi", "luminance", "XYZ", "XYZ"},
    {"meas", "measurement conditions", "meas", "meas"},
    {"meta", "metadata", "", "dict"},
    {"ncl2", "named colours", "ncl2", "ncl2"},
    {"ncol", "named colours of version 2.0", "ncol", ""},
    {"pre0", "preview, perceptual", kLutTypes2, "mft1 mft2 mAB mBA"},
    {"pre1", "preview, relative", kLutTypes2, kLutTypesB},
    {"pre2", "preview, saturation", kLutTypes2, kLutTypesB},
    {"ps2i", "PostScript rendering intent", "data", ""},
    {"ps2s", "PostScript colour space array", "data", ""},
    {"psd0", "PostScript rendering dictionary, perceptual", "data", ""},
    {"psd1", "PostScript rendering dictionary, relative", "data", ""},
    {"psd2", "PostScript rendering dictionary, saturation", "data", ""},
    {"psd3", "PostScript rendering dictionary, absolute", "data", ""},
    {"pseq", "profiles of the sequence", "pseq", "pseq"},
    {"psid", "identifiers of the profile sequence", "", "psid"},
    {"rTRC", "tone curve of red", "curv", "curv para"},
    {"rXYZ", "colorant of red", "XYZ", "XYZ"},
    {"resp", "responses of the output device", "rcs2", "rcs2"},
    {"rig0", "gamut of the perceptual intent", "", "sig"},
    {"rig2", "gamut of the saturation intent", "", "sig"},
    {"scrd", "description of the screening", "desc", ""},
    {"scrn", "screening", "scrn", ""},
    {"targ", "characterisation target", "text", "text"},
    {"tech", "technology of the device", "sig", "sig"},
    {"view", "viewing conditions", "view", "view"},
    {"vued", "description of the viewing conditions", "desc", "mluc"},
    {"wtpt", "media white point", "XYZ", "XYZ"},
};

constexpr Name kOtherTags[] = {
    {"vcgt", "curves for the video card"},      {"ndin", "native display information"},
    {"mmod", "make and model of the display"},  {"dscm", "description in several languages"},
    {"aarg", "curve of red without rounding"},  {"aagg", "curve of green without rounding"},
    {"aabg", "curve of blue without rounding"}, {"MS00", "colour system profile"},
    {"arts", "adaptation used by the writer"},  {"Pmtr", "parameters of the writer"},
};

constexpr const char* kIntents[] = {"perceptual", "media-relative colorimetric", "saturation", "absolute colorimetric"};
constexpr const char* kObservers[] = {"unknown", "CIE 1931", "CIE 1964"};
constexpr const char* kGeometries[] = {"unknown", "0/45 or 45/0", "0/d or d/0"};
constexpr const char* kIlluminants[] = {"unknown", "D50", "D65", "D93", "F2", "D55", "A", "E", "F8"};
constexpr const char* kPhosphors[] = {"unknown", "ITU-R BT.709", "SMPTE RP145", "EBU Tech. 3213-E", "P22"};

template <class Row>
const Row* find(std::span<const Row> rows, uint32_t signature) {
    const auto found = std::find_if(rows.begin(), rows.end(),
                                    [signature](const Row& row) { return sigOf(row.signature) == signature; });
    return found != rows.end() ? &*found : nullptr;
}

std::string_view nameIn(std::span<const Name> names, uint32_t signature) {
    const Name* found = find(names, signature);
    return found != nullptr ? found->name : std::string_view();
}

std::string_view nameAt(std::span<const char* const> names, uint32_t index) {
    return index < names.size() ? names[index] : std::string_view();
}

}  // namespace

uint32_t sigOf(std::string_view letters) {
    uint32_t result = 0;
    for (size_t i = 0; i < 4; ++i) {
        result = result << 8 | static_cast<uint8_t>(i < letters.size() ? letters[i] : ' ');
    }
    return result;
}

std::string_view className(uint32_t signature) { return nameIn(kClasses, signature); }

std::string_view spaceName(uint32_t signature) {
    const SpaceName* found = find(std::span<const SpaceName>(kSpaces), signature);
    return found != nullptr ? found->name : std::string_view();
}

uint32_t channelsOf(uint32_t space) {
    const SpaceName* found = find(std::span<const SpaceName>(kSpaces), space);
    return found != nullptr ? found->channels : 0;
}

std::string_view platformName(uint32_t signature) { return nameIn(kPlatforms, signature); }
std::string_view typeName(uint32_t signature) { return nameIn(kTypes, signature); }
std::string_view technologyName(uint32_t signature) { return nameIn(kTechnologies, signature); }
std::string_view measurementUnitName(uint32_t signature) { return nameIn(kMeasurementUnits, signature); }
std::string_view intentName(uint32_t intent) { return nameAt(kIntents, intent); }
std::string_view observerName(uint32_t observer) { return nameAt(kObservers, observer); }
std::string_view geometryName(uint32_t geometry) { return nameAt(kGeometries, geometry); }
std::string_view illuminantName(uint32_t illuminant) { return nameAt(kIlluminants, illuminant); }
std::string_view phosphorName(uint32_t phosphor) { return nameAt(kPhosphors, phosphor); }

std::string_view signatureTagName(uint32_t tag, uint32_t value) {
    switch (tag) {
        case sig("tech"):
            return technologyName(value);
        case sig("ciis"):
            return nameIn(kImageStates, value);
        case sig("rig0"):
        case sig("rig2"):
            return nameIn(kGamuts, value);
        default:
            return {};
    }
}

const TagName* findTag(uint32_t signature) { return find(std::span<const TagName>(kTags), signature); }

std::string_view tagName(uint32_t signature) {
    const TagName* found = findTag(signature);
    return found != nullptr ? found->name : nameIn(kOtherTags, signature);
}

bool hasType(std::string_view types, uint32_t type) {
    while (!types.empty()) {
        const size_t end = std::min(types.find(' '), types.size());
        if (sigOf(types.substr(0, end)) == type) {
            return true;
        }
        types.remove_prefix(std::min(end + 1, types.size()));
    }
    return false;
}

}  // namespace zvinfo
