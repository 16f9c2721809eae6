// Conversion of strips of rows by the library, step by step through a hub.
#ifndef ZVCLR_TOOLS_STRIP_CONVERTER_H
#define ZVCLR_TOOLS_STRIP_CONVERTER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "emulation_table.h"
#include "parameters.h"
#include "zvclr.h"

namespace zvtool {

/// A call of the library failed.
class LibraryError : public std::runtime_error {
public:
    explicit LibraryError(int32_t code);
    int32_t code() const { return code_; }

private:
    int32_t code_;
};

enum class Method { kBuiltin, kIcc, kCustomIcc, kEmulation, kCustomEmulation };

/// As the command line has it.
const char* methodName(Method method);
std::optional<Method> methodFromName(std::string_view name);

/// The two spaces that hold red, green and blue.
bool isHub(int32_t space);
/// The spaces beside the hubs that a profile can describe to the library: cmyk, cmy and lab.
bool isProfiled(int32_t space);
/// Whether the library's profiles have a part in the way from one space to another.
bool iccServes(int32_t from, int32_t to);
/// Whether two profiles of the caller can.
bool customIccServes(int32_t from, int32_t to);
/// Whether the library's emulation tables have a part in the way from one space to another.
bool emulationServes(int32_t from, int32_t to);
/// The one table that has; null when there is none, or two.
const TableGrid* onlyTable(int32_t from, int32_t to);
/// What converts a pair when nobody says it.
Method defaultMethod(int32_t from, int32_t to);

/// Pixels of lab have signed a and b here, whatever the method.
struct Conversion {
    int32_t from = CLRSPACE_RGB;
    int32_t to = CLRSPACE_RGB;
    Method method = Method::kBuiltin;
    std::optional<ClrWhitePoint> white;
    std::vector<uint8_t> inputProfile;
    std::vector<uint8_t> outputProfile;
    std::string table;  ///< name of a file that checkTable() has passed
    std::optional<int32_t> gcrLevel;
    std::optional<ClrLabParams> sourceLab;
    std::optional<ClrLabParams> destinationLab;
    std::optional<YuvLayout> sourceYuv;
};

/// Rows of a strip of about a megabyte, a multiple of 4 and of `rowUnit`.
int32_t stripRows(int32_t width, int32_t rowUnit, const Conversion& conversion);

class StripConverter {
public:
    /// Throws LibraryError, also when profiles or tables turn out to be of no use.
    explicit StripConverter(Conversion conversion);

    /// Bytes that the buffers for a strip must have, which can be more than its pixels.
    size_t sourceBytes(int32_t width, int32_t rows) const;
    size_t destinationBytes(int32_t width, int32_t rows) const;

    /// Converts a strip; throws LibraryError. Both buffers must have the sizes told above.
    void convert(const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows);

    /// True when source and destination hold the same bytes.
    bool copies() const { return steps_.empty(); }

private:
    struct FreeHandle {
        void operator()(ClrHandle* handle) const { Zv_ClrFree(handle); }
    };
    using Handle = std::unique_ptr<ClrHandle, FreeHandle>;

    struct Step {
        int32_t from;
        int32_t to;
        Handle converter;  ///< null for a step without a record
    };

    Handle createConverter(int32_t from, int32_t to) const;
    Handle createProfileConverter(int32_t from, int32_t to);
    Handle createTableConverter(int32_t from, int32_t to) const;
    Handle createPixelConverter() const;
    void addSteps();
    void addBuiltinStep(int32_t from, int32_t to, bool record);
    void addMethodStep(int32_t from, int32_t to);
    bool byProfiles() const;
    void run(const Step& step, const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows) const;
    void convertLastPixel(const uint8_t* source, uint8_t* destination, int32_t width, int32_t rows) const;

    Conversion conversion_;
    std::vector<Step> steps_;
    Handle pixelConverter_;
    std::vector<uint8_t> hubs_[2];
    std::vector<uint8_t> offsetLab_;
};

}  // namespace zvtool

#endif  // ZVCLR_TOOLS_STRIP_CONVERTER_H
