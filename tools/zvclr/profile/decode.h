// Tags in plain words: by the library's records where these hold all of a tag, by the body itself otherwise.
#ifndef ZVCLR_TOOLS_PROFILE_DECODE_H
#define ZVCLR_TOOLS_PROFILE_DECODE_H

#include <optional>
#include <string>
#include <vector>

#include "node.h"
#include "profile.h"

namespace zvinfo {

using Nodes = std::vector<Node>;

struct Content {
    enum class How {
        kLibrary,  ///< the library's record
        kBody,     ///< the bytes of the body, with a remark why
        kBytes,    ///< the bytes as they are
        kNothing,  ///< there is no body that could be read
    };

    How how = How::kNothing;
    int32_t result = 0;    ///< of Zv_GetICCTagData
    bool broken = false;   ///< the type is decoded, but this body is not what it asks for
    bool refused = false;  ///< the library did not fill its record
    std::string remark;    ///< on the way of reading
    std::string refusal;   ///< what the library said, where it refused
    Nodes nodes;
};

Content decodeTag(const Profile& profile, int32_t index, const Style& style);

/// What a decoder is given.
struct TagContext {
    const Profile& profile;
    const Tag& tag;
    const TagRecord& record;
    Span body;
    const Style& style;
};

/// Nothing when the record does not hold the whole tag, or the body not what it says.
using Decoder = std::optional<Nodes> (*)(const TagContext&);

struct TypeDecoder {
    const char* type;
    Decoder fromRecord;  ///< may be null
    Decoder fromBody;    ///< may be null
    const char* remark;  ///< why the body is read although the library filled its record
};

// Each room's decoders.
std::vector<TypeDecoder> valueDecoders();
std::vector<TypeDecoder> textDecoders();
std::vector<TypeDecoder> listDecoders();
std::vector<TypeDecoder> curveDecoders();
std::vector<TypeDecoder> lutDecoders();
std::vector<TypeDecoder> lutAToBDecoders();

// Pieces that several decoders share.
Node bytesNode(const Style& style, const std::string& label, Span bytes);
Node xyzNode(const std::string& label, uint32_t x, uint32_t y, uint32_t z);
/// "2001-02-03 04:05:06".
std::string dateTimeText(const uint16_t* parts);
/// Latin-1, which ASCII fields hold in practice, as UTF-8. Up to the first zero.
std::string fromLatin1(Span bytes);
/// UTF-16, big-endian, as UTF-8. Up to the first zero.
std::string fromUtf16(Span bytes);
/// How many of `count` entries are shown, each with as many nodes at most. Takes these from the report's.
uint64_t shownEntries(const Style& style, uint64_t count, uint64_t nodesOfEach = 1);
/// A note on entries that are left out.
void addLeftOut(Nodes& nodes, const Style& style, uint64_t count, uint64_t shown);

/// What the texts of a tag may take together, since any number of them may have the same bytes.
class TextBudget {
public:
    explicit TextBudget(Span body);

    struct Text {
        std::string words;
        std::string note;  ///< how much is left out; empty for a whole text
    };
    /// UTF-16, big-endian, as UTF-8, up to the first zero.
    Text utf16(Span bytes);

private:
    size_t left_;
};

/// Why types that only others have are read from their bytes.
inline constexpr char kNoRecord[] = "the library has no record for this type";

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_DECODE_H
