#include "strip_converter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "zverror.h"

namespace zvtool {

namespace {

constexpr int64_t kStripBytes = 1 << 20;

// A converter from ycck takes the inks out of it first; none to ycck writes anything.
bool isProfiledSource(int32_t space) { return isProfiled(space) || space == CLRSPACE_YCCK; }

bool isEmulatedSource(int32_t space) { return space == CLRSPACE_CMYK || space == CLRSPACE_LAB; }

// Whether the method, and not the formulas, has the side of the hub that a space is on.
bool servesSource(Method method, int32_t space) {
    switch (method) {
        case Method::kIcc:
            return isProfiledSource(space);
        case Method::kEmulation:
        case Method::kCustomEmulation:
            return isEmulatedSource(space);
        default:
            return false;
    }
}

bool servesDestination(Method method, int32_t space) {
    switch (method) {
        case Method::kIcc:
            return isProfiled(space);
        case Method::kEmulation:
        case Method::kCustomEmulation:
            return space == CLRSPACE_LAB;
        default:
            return false;
    }
}

constexpr struct {
    Method method;
    const char* name;
} kMethodNames[] = {{Method::kBuiltin, "builtin"},
                    {Method::kIcc, "icc"},
                    {Method::kCustomIcc, "custom-icc"},
                    {Method::kEmulation, "emulation"},
                    {Method::kCustomEmulation, "custom-emulation"}};

// Profiles take a and b with an offset of 128, everything else here has them signed.
void turnLab(uint8_t* pixels, size_t bytes) {
    for (size_t i = 0; i + 2 < bytes; i += 3) {
        pixels[i + 1] ^= 0x80U;
        pixels[i + 2] ^= 0x80U;
    }
}

// Rows of 9 bits round up, so that the library asks for more than the pixels have.
size_t bufferBytes(int32_t space, int32_t width, int32_t rows) {
    const int64_t rounded = (int64_t{zvimage::spaceOf(space).bits} * width + 7) / 8 * rows;
    return static_cast<size_t>(std::max(rounded, zvimage::layoutOf(space).bytes(width, rows)));
}

void check(int32_t result) {
    if (result != CLR_SUCCESS) {
        throw LibraryError(result);
    }
}

// The hub order that a step asks for; none when it serves both.
std::optional<int32_t> hubAfter(const Conversion& conversion) {
    if (isHub(conversion.from)) {
        return conversion.from;
    }
    // With a layout of its own the library writes blue first, whatever the hub.
    return conversion.sourceYuv ? std::optional<int32_t>(CLRSPACE_BGR) : std::nullopt;
}

std::optional<int32_t> hubBefore(const Conversion& conversion) {
    if (isHub(conversion.to)) {
        return conversion.to;
    }
    // The direct route to YCCK takes the first byte for red, the Lab encoder with a record the last.
    if (conversion.to == CLRSPACE_YCCK) {
        return CLRSPACE_RGB;
    }
    return conversion.destinationLab ? std::optional<int32_t>(CLRSPACE_BGR) : std::nullopt;
}

}  // namespace

LibraryError::LibraryError(int32_t code)
    : std::runtime_error(fmt::format("the conversion failed with {} ({}): {} {}", ZvErrorName(code), code,
                                     ZvErrorMeaning(code), ZvErrorCause(code))),
      code_(code) {}

const char* methodName(Method method) {
    return std::find_if(std::begin(kMethodNames), std::end(kMethodNames),
                        [method](const auto& entry) { return entry.method == method; })
        ->name;
}

std::optional<Method> methodFromName(std::string_view name) {
    const auto found = std::find_if(std::begin(kMethodNames), std::end(kMethodNames),
                                    [name](const auto& entry) { return name == entry.name; });
    return found != std::end(kMethodNames) ? std::optional(found->method) : std::nullopt;
}

bool isHub(int32_t space) { return space == CLRSPACE_RGB || space == CLRSPACE_BGR; }

bool isProfiled(int32_t space) { return space == CLRSPACE_CMYK || space == CLRSPACE_CMY || space == CLRSPACE_LAB; }

bool iccServes(int32_t from, int32_t to) {
    return from != to && to != CLRSPACE_YCCK && (isProfiledSource(from) || isProfiled(to));
}

bool customIccServes(int32_t from, int32_t to) {
    return (isHub(from) && (isHub(to) || isProfiled(to))) || (isProfiled(from) && (isHub(to) || from == to));
}

bool emulationServes(int32_t from, int32_t to) {
    return from != to && to != CLRSPACE_CMYK && (isEmulatedSource(from) || to == CLRSPACE_LAB);
}

const TableGrid* onlyTable(int32_t from, int32_t to) {
    if (!emulationServes(from, to) || (isEmulatedSource(from) && to == CLRSPACE_LAB)) {
        return nullptr;
    }
    return isEmulatedSource(from) ? findTable(from, CLRSPACE_RGB) : findTable(CLRSPACE_RGB, to);
}

Method defaultMethod(int32_t from, int32_t to) { return iccServes(from, to) ? Method::kIcc : Method::kBuiltin; }

int32_t stripRows(int32_t width, int32_t rowUnit, const Conversion& conversion) {
    const int32_t unit = rowUnit % 4 == 0 ? rowUnit : rowUnit % 2 == 0 ? rowUnit * 2 : rowUnit * 4;
    const int64_t bytesPerRow = int64_t{width} * 4;
    const int64_t units = std::max<int64_t>(1, kStripBytes / (bytesPerRow * unit));
    int64_t rows = units * unit;
    // What the library asks of planes grows with their periods.
    constexpr int64_t kMaxSource = int64_t{64} << 20;
    if (conversion.sourceYuv) {
        while (rows > unit && conversion.sourceYuv->sourceBytes(width, static_cast<int32_t>(rows)) > kMaxSource) {
            rows -= unit;
        }
        if (conversion.sourceYuv->sourceBytes(width, static_cast<int32_t>(rows)) > int64_t{1} << 30) {
            throw zvimage::ContradictionError(
                fmt::format("rows of {} pixels are too wide for this --yuv-params layout", width));
        }
    }
    return static_cast<int32_t>(rows);
}

StripConverter::StripConverter(Conversion conversion) : conversion_(std::move(conversion)) {
    if (conversion_.method == Method::kCustomIcc) {
        addMethodStep(conversion_.from, conversion_.to);
    } else {
        addSteps();
    }
}

// Each side of the hub goes by itself: between two other spaces the library would take its formulas for both.
void StripConverter::addSteps() {
    const Conversion& c = conversion_;
    const bool records = c.sourceYuv || c.sourceLab.has_value() != c.destinationLab.has_value();
    if (c.from == c.to && !records) {
        return;
    }
    const std::optional<int32_t> after = hubAfter(c);
    const std::optional<int32_t> before = hubBefore(c);
    const int32_t first = after.value_or(before.value_or(CLRSPACE_RGB));
    const int32_t second = before.value_or(first);
    const bool cmykRecord = c.gcrLevel.has_value();
    if (servesSource(c.method, c.from)) {
        addMethodStep(c.from, first);
    } else if (!isHub(c.from)) {
        addBuiltinStep(c.from, first, c.sourceYuv || c.sourceLab || (cmykRecord && c.from == CLRSPACE_CMYK));
    }
    if (first != second) {
        addBuiltinStep(first, second, false);
    }
    if (servesDestination(c.method, c.to)) {
        addMethodStep(second, c.to);
    } else if (!isHub(c.to)) {
        addBuiltinStep(second, c.to, c.destinationLab || (cmykRecord && c.to == CLRSPACE_CMYK));
    }
    if (c.sourceYuv && c.sourceYuv->planar) {
        pixelConverter_ = createPixelConverter();
    }
}

void StripConverter::addBuiltinStep(int32_t from, int32_t to, bool record) {
    steps_.push_back({from, to, record ? createConverter(from, to) : nullptr});
}

void StripConverter::addMethodStep(int32_t from, int32_t to) {
    steps_.push_back({from, to, byProfiles() ? createProfileConverter(from, to) : createTableConverter(from, to)});
}

bool StripConverter::byProfiles() const {
    return conversion_.method == Method::kIcc || conversion_.method == Method::kCustomIcc;
}

StripConverter::Handle StripConverter::createConverter(int32_t from, int32_t to) const {
    ClrCmykParams cmyk = {static_cast<int32_t>(sizeof cmyk), conversion_.gcrLevel.value_or(0), 0};
    ClrLabParams lab = from == CLRSPACE_LAB ? conversion_.sourceLab.value_or(ClrLabParams{})
                                            : conversion_.destinationLab.value_or(ClrLabParams{});
    ClrYuvParams yuv = conversion_.sourceYuv ? conversion_.sourceYuv->record() : ClrYuvParams{};
    ClrParams params = {};
    params.size = static_cast<uint32_t>(sizeof params);
    params.methods = CLRMETHOD_BUILTIN;
    params.activeMethod = CLRMETHOD_BUILTIN;
    params.cmykParams = conversion_.gcrLevel ? &cmyk : nullptr;
    params.labParams = lab.size != 0 ? &lab : nullptr;
    params.yuvParams = conversion_.sourceYuv ? &yuv : nullptr;
    ClrHandle* handle = nullptr;
    check(Zv_ClrInit(&handle, from, to, &params));
    return Handle(handle);
}

StripConverter::Handle StripConverter::createProfileConverter(int32_t from, int32_t to) {
    const auto memory = [](std::vector<uint8_t>& bytes) {
        return ClrProfileMemory{sizeof(ClrProfileMemory), bytes.data(), bytes.size()};
    };
    const bool custom = conversion_.method == Method::kCustomIcc;
    ClrProfileMemory input = memory(conversion_.inputProfile);
    ClrProfileMemory output = memory(conversion_.outputProfile);
    ClrParams params = {};
    params.size = static_cast<uint32_t>(sizeof params);
    params.methods = custom ? CLRMETHOD_CUSTOM_ICC : CLRMETHOD_ICC;
    params.activeMethod = params.methods;
    params.whitePoint = conversion_.white ? &*conversion_.white : nullptr;
    params.inputProfileMemory = custom ? &input : nullptr;
    params.outputProfileMemory = custom ? &output : nullptr;
    ClrHandle* handle = nullptr;
    check(Zv_ClrInit(&handle, from, to, &params));
    Handle converter(handle);
    // A converter can be made without a transform; a pixel tells before any output is started.
    const uint8_t pixel[4] = {};
    uint8_t result[4] = {};
    check(Zv_ClrConvert(converter.get(), pixel, result, 1, 1, 0, 0));
    return converter;
}

StripConverter::Handle StripConverter::createTableConverter(int32_t from, int32_t to) const {
    const bool custom = conversion_.method == Method::kCustomEmulation;
    ClrParamsA params = {};
    params.size = static_cast<uint32_t>(sizeof params);
    // Without the library's own table beside it the library would keep the caller's after the end of the converter.
    params.methods = custom ? CLRMETHOD_EMULATION | CLRMETHOD_CUSTOM_EMULATION : CLRMETHOD_EMULATION;
    params.activeMethod = custom ? CLRMETHOD_CUSTOM_EMULATION : CLRMETHOD_EMULATION;
    params.emulationMethod = CLRMETHOD_EMULATION;
    conversion_.table.copy(params.emulationTableName, CLR_NAME_LENGTH - 1);
    ClrHandle* handle = nullptr;
    check(Zv_ClrInitA(&handle, from, to, &params));
    Handle converter(handle);
    // Without a table the library reports success and leaves the pixels as they were.
    const uint8_t pixel[4] = {};
    uint8_t first[3] = {0x00, 0x00, 0x00};
    uint8_t second[3] = {0xff, 0xff, 0xff};
    check(Zv_ClrConvert(converter.get(), pixel, first, 1, 1, 0, 0));
    check(Zv_ClrConvert(converter.get(), pixel, second, 1, 1, 0, 0));
    if (std::memcmp(first, second, sizeof first) != 0) {
        throw LibraryError(ERR_METHOD_UNAVAILABLE);
    }
    return converter;
}

StripConverter::Handle StripConverter::createPixelConverter() const {
    static constexpr int32_t kPositions[] = {0, 1, 2};
    ClrYuvParams yuv = {};
    yuv.size = static_cast<int32_t>(sizeof yuv);
    yuv.uSampleX = 1;
    yuv.uSampleY = 1;
    yuv.vSampleX = 1;
    yuv.vSampleY = 1;
    yuv.positions = kPositions;
    yuv.macroPixelSize = 1;
    yuv.fullRange = conversion_.sourceYuv->fullRange ? 1 : 0;
    ClrParams params = {};
    params.size = static_cast<uint32_t>(sizeof params);
    params.methods = CLRMETHOD_BUILTIN;
    params.activeMethod = CLRMETHOD_BUILTIN;
    params.yuvParams = &yuv;
    ClrHandle* handle = nullptr;
    check(Zv_ClrInit(&handle, CLRSPACE_YUV, CLRSPACE_BGR, &params));
    return Handle(handle);
}

size_t StripConverter::sourceBytes(int32_t width, int32_t rows) const {
    return conversion_.sourceYuv ? static_cast<size_t>(conversion_.sourceYuv->sourceBytes(width, rows))
                                 : bufferBytes(conversion_.from, width, rows);
}

size_t StripConverter::destinationBytes(int32_t width, int32_t rows) const {
    return bufferBytes(conversion_.to, width, rows);
}

void StripConverter::convert(const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows) {
    if (copies()) {
        std::memcpy(destination, source, static_cast<size_t>(zvimage::layoutOf(conversion_.from).bytes(width, rows)));
        return;
    }
    const bool profiles = byProfiles();
    const uint8_t* input = source;
    if (profiles && conversion_.from == CLRSPACE_LAB) {
        offsetLab_.assign(source, source + bufferBytes(CLRSPACE_LAB, width, rows));
        turnLab(offsetLab_.data(), offsetLab_.size());
        input = offsetLab_.data();
    }
    for (size_t i = 0; i < steps_.size(); ++i) {
        uint8_t* output = destination;
        if (i + 1 < steps_.size()) {
            std::vector<uint8_t>& hub = hubs_[i % 2];
            hub.resize(bufferBytes(CLRSPACE_RGB, width, rows));
            output = hub.data();
        }
        run(steps_[i], input, output, width, rows);
        input = output;
    }
    if (profiles && conversion_.to == CLRSPACE_LAB) {
        turnLab(destination, bufferBytes(CLRSPACE_LAB, width, rows));
    }
}

void StripConverter::run(const Step& step, const uint8_t* source, uint8_t* destination, int32_t width,
                         int32_t rows) const {
    if (!step.converter) {
        check(Zv_ClrConvertDirect(step.from, step.to, source, destination, width, rows, 0, 0));
        return;
    }
    check(Zv_ClrConvert(step.converter.get(), source, destination, width, rows, 0, 0));
    if (pixelConverter_ && step.from == CLRSPACE_YUV) {
        convertLastPixel(source, destination, width, rows);
    }
}

// The library leaves the last pixel of planes unconverted.
void StripConverter::convertLastPixel(const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows) const {
    const zvimage::RawLayout layout = conversion_.sourceYuv->rawLayout();
    uint8_t pixel[3] = {};
    int64_t end = 0;
    for (size_t i = 0; i < layout.planes.size(); ++i) {
        end += layout.planes[i].bytes(width, rows);
        const char plane = conversion_.sourceYuv->order[i];
        pixel[plane == 'Y' ? 0 : plane == 'U' ? 1 : 2] = source[end - 1];
    }
    uint8_t* last = destination + (int64_t{width} * rows - 1) * 3;
    check(Zv_ClrConvert(pixelConverter_.get(), pixel, last, 1, 1, 0, 0));
}

}  // namespace zvtool
