#include "engine.h"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "names.h"
#include "node.h"
#include "zvclr.h"

namespace zvinfo {

namespace {

constexpr size_t kMostTags = 50;

struct EngineSpace {
    uint32_t signature;
    int32_t id;
    const char* name;
};

constexpr EngineSpace kSpaces[] = {
    {sig("RGB "), CLRSPACE_RGB, "rgb"},
    {sig("CMYK"), CLRSPACE_CMYK, "cmyk"},
    {sig("CMY "), CLRSPACE_CMY, "cmy"},
    {sig("Lab "), CLRSPACE_LAB, "lab"},
};

/// The engine takes pixels of bgr for any profile, and so serves those of other spaces of three channels, and gray.
constexpr EngineSpace kAnySpace = {0, CLRSPACE_BGR, "bgr"};

const EngineSpace* findSpace(uint32_t signature) {
    const auto* found = std::find_if(std::begin(kSpaces), std::end(kSpaces),
                                     [signature](const EngineSpace& space) { return space.signature == signature; });
    if (found != std::end(kSpaces)) {
        return found;
    }
    return signature == sig("GRAY") || channelsOf(signature) == 3 ? &kAnySpace : nullptr;
}

struct FreeHandle {
    void operator()(ClrHandle* handle) const { Zv_ClrFree(handle); }
};

/// Makes a converter and runs a pixel through it: one can be made without a transform.
int32_t tryConverter(int32_t from, int32_t to, ClrProfileMemory* input, ClrProfileMemory* output) {
    ClrParams params = {};
    params.size = static_cast<uint32_t>(sizeof params);
    params.methods = CLRMETHOD_CUSTOM_ICC;
    params.activeMethod = CLRMETHOD_CUSTOM_ICC;
    params.inputProfileMemory = input;
    params.outputProfileMemory = output;
    ClrHandle* handle = nullptr;
    const int32_t result = Zv_ClrInit(&handle, from, to, &params);
    if (result != CLR_SUCCESS) {
        return result;
    }
    const std::unique_ptr<ClrHandle, FreeHandle> converter(handle);
    const uint8_t pixel[4] = {};
    uint8_t converted[4] = {};
    return Zv_ClrConvert(converter.get(), pixel, converted, 1, 1, 0, 0);
}

ClrIccTagArray xyzRecord(const uint32_t (&words)[3]) {
    ClrIccTagArray record = {};
    record.values = const_cast<uint32_t*>(words);
    record.count = 1;
    return record;
}

/// The sRGB colorants with a gamma of 2.2: a profile for the other side of a trial.
std::vector<uint8_t> plainProfile() {
    constexpr uint32_t kColorants[3][3] = {
        {0x6FA2, 0x38F5, 0x0390}, {0x6299, 0xB785, 0x18DA}, {0x24A0, 0x0F84, 0xB6CF}};
    constexpr uint32_t kSignatures[3][2] = {
        {sig("rXYZ"), sig("rTRC")}, {sig("gXYZ"), sig("gTRC")}, {sig("bXYZ"), sig("bTRC")}};
    uint16_t gamma = 0x233;
    ClrIccTagCurve curve = {};
    curve.entryCount = 1;
    curve.entries = &gamma;
    ClrIccProfile profile = {};
    Zv_InitICCProfile(&profile, sizeof profile);
    bool made = Zv_InitICCHeader(&profile) == CLR_SUCCESS &&
                Zv_SetICCDeviceClass(&profile, static_cast<int32_t>(sig("mntr"))) == CLR_SUCCESS &&
                Zv_SetICCColorSpace(&profile, static_cast<int32_t>(sig("RGB "))) == CLR_SUCCESS &&
                Zv_SetICCConnectionSpace(&profile, static_cast<int32_t>(sig("XYZ "))) == CLR_SUCCESS;
    for (size_t i = 0; i < 3 && made; ++i) {
        ClrIccTagArray colorant = xyzRecord(kColorants[i]);
        made = Zv_SetICCTagData(&profile, &colorant, kSignatures[i][0], sig("XYZ ")) == CLR_SUCCESS &&
               Zv_SetICCTagData(&profile, &curve, kSignatures[i][1], sig("curv")) == CLR_SUCCESS;
    }
    std::vector<uint8_t> image;
    if (made && Zv_GenerateICCPointer(&profile) == CLR_SUCCESS) {
        image.assign(profile.profileData, profile.profileData + profile.profileSize);
    }
    Zv_FreeICCProfile(&profile);
    return image;
}

ClrProfileMemory memoryOf(std::vector<uint8_t>& bytes) {
    return {sizeof(ClrProfileMemory), bytes.data(), bytes.size()};
}

/// The other side is the plain profile, from or to the order of RGB that it is not asked for.
int32_t tryProfile(const Profile& profile, int32_t space, bool asInput) {
    std::vector<uint8_t> plain = plainProfile();
    std::vector<uint8_t> bytes = profile.bytes();
    ClrProfileMemory other = memoryOf(plain);
    ClrProfileMemory own = memoryOf(bytes);
    const int32_t hub = space == CLRSPACE_RGB ? CLRSPACE_BGR : CLRSPACE_RGB;
    return asInput ? tryConverter(space, hub, &own, &other) : tryConverter(hub, space, &other, &own);
}

/// Some writers leave this in the place of "XYZ ".
constexpr uint32_t kOtherXyzType = 0x07C3B10C;

/// Of which type a tag is; 0 when it is not there. Sizes are not looked at, as in the engine.
uint32_t typeOf(const Profile& profile, uint32_t signature) {
    const int32_t index = profile.find(signature);
    const uint32_t type = index < 0 ? 0 : profile.at(profile.tags()[static_cast<size_t>(index)].offset).u32();
    return type == kOtherXyzType ? sig("XYZ ") : type;
}

/// Takes the tags if all of them are of that type; says otherwise what is in the way.
bool takeAll(const Profile& profile, EngineSide& side, std::initializer_list<uint32_t> signatures, uint32_t type) {
    for (const uint32_t signature : signatures) {
        const std::string name = readable(signature);
        if (profile.find(signature) < 0) {
            side.text = fmt::format("there is no {}", name);
            return false;
        }
        const uint32_t found = typeOf(profile, signature);
        if (found != type) {
            side.text =
                fmt::format("{} is of type {}, and the engine reads {} only", name, readable(found), readable(type));
            return false;
        }
        side.tags.push_back(name);
    }
    return true;
}

/// Tables alone have an absolute form: colorants and tone curves give XYZ relative to D50, whatever the header says.
void addWhite(const Profile& profile, EngineSide& side) {
    constexpr uint32_t kAbsolute = 3;
    const uint32_t connection = profile.header().connectionSpace;
    if (profile.header().renderingIntent != kAbsolute || (connection != sig("Lab ") && connection != sig("XYZ "))) {
        return;
    }
    side.text += fmt::format(
        ", whose {} is taken as absolute, since the header's intent is 3; the white and black points of "
        "both profiles may count then",
        readable(connection));
    for (const uint32_t signature : {sig("wtpt"), sig("bkpt")}) {
        if (typeOf(profile, signature) == sig("XYZ ")) {
            side.tags.push_back(readable(signature));
        }
    }
}

void takeTable(const Profile& profile, EngineSide& side, uint32_t signature) {
    const uint32_t type = typeOf(profile, signature);
    if (type != sig("mft1") && type != sig("mft2")) {
        side.text = fmt::format(
            "{} is of type {}, and the engine reads mft1 and mft2 only; it does not look for "
            "anything else then",
            readable(signature), readable(type));
        return;
    }
    side.usable = true;
    side.tags = {readable(signature)};
    side.text = fmt::format("the table {}", readable(signature));
    addWhite(profile, side);
}

void takeShaper(const Profile& profile, EngineSide& side, uint32_t table) {
    const bool colorants = takeAll(profile, side, {sig("rXYZ"), sig("gXYZ"), sig("bXYZ")}, sig("XYZ "));
    const bool curves = colorants && takeAll(profile, side, {sig("rTRC"), sig("gTRC"), sig("bTRC")}, sig("curv"));
    side.usable = colorants && curves;
    side.text = side.usable ? "colorants and tone curves" : fmt::format("without {}, {}", readable(table), side.text);
    if (!side.usable) {
        side.tags.clear();
    }
}

void takeGray(const Profile& profile, EngineSide& side, uint32_t table) {
    side.usable = takeAll(profile, side, {sig("kTRC")}, sig("curv"));
    side.text = side.usable ? "the tone curve of gray" : fmt::format("without {}, {}", readable(table), side.text);
}

EngineSide sideOf(const Profile& profile, uint32_t table) {
    EngineSide side;
    if (profile.tags().size() > kMostTags) {
        side.text =
            fmt::format("the profile has {} tags, and the engine takes {} at most", profile.tags().size(), kMostTags);
    } else if (profile.find(table) >= 0) {
        takeTable(profile, side, table);
    } else if (profile.header().colorSpace == sig("GRAY")) {
        takeGray(profile, side, table);
    } else {
        takeShaper(profile, side, table);
    }
    return side;
}

/// Why the command refuses profiles of that class; empty for those that it takes.
std::string_view classInTheWay(uint32_t deviceClass) {
    switch (deviceClass) {
        case sig("link"):
            return "a device link, which has no place in a pair of profiles";
        case sig("abst"):
            return "an abstract profile, where a pair needs those of colour spaces or devices";
        case sig("nmcl"):
            return "a named-colour profile, where a pair needs those of colour spaces or devices";
        default:
            return {};
    }
}

}  // namespace

EngineUse engineUse(const Profile& profile) {
    EngineUse use;
    const std::string_view inTheWay = classInTheWay(profile.header().deviceClass);
    if (!inTheWay.empty()) {
        use.input.text = use.output.text = inTheWay;
        return use;
    }
    const EngineSpace* space = findSpace(profile.header().colorSpace);
    if (space == nullptr) {
        use.input.text = use.output.text =
            fmt::format("no converter has pixels of {}", readable(profile.header().colorSpace));
        return use;
    }
    use.space = space->name;
    use.input = sideOf(profile, sig("A2B0"));
    use.output = sideOf(profile, sig("B2A0"));
    use.input.trial = tryProfile(profile, space->id, true);
    use.output.trial = tryProfile(profile, space->id, false);
    return use;
}

}  // namespace zvinfo
