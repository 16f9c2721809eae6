// The image files of the recording host: one file that a test makes up, operations that fail or fault on request, and a
// record of what the library asked for.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/host.h"

namespace zv::test {

struct ImageMarker {
    uint32_t id;
    std::string data;
};

/// One call of an image-file operation or of a scripted stream, in order. What an operation lacks stays zero.
struct ImageCall {
    std::string operation;
    std::u16string name{};
    uint64_t first = 0;   ///< size, marker number, tag, bytes asked for, offset of a seek, flags, 0 of an opening
    uint64_t second = 0;  ///< data length, type, origin of a seek, mode of an opening, whether there is a buffer
    std::string data{};   ///< of a marker or tag
    const void* options = nullptr;
    int64_t result = 0;
    uint64_t third = 0;             ///< count of a tag, as it comes in
    const void* set = nullptr;      ///< the collection of markers that is given
    const void* pointer = nullptr;  ///< user data of a walk, data of a tag
    HostMarkerCallback callback = nullptr;
    std::optional<SAVEFILEOPTION> saveOptions{};  ///< what the options of a rewriting hold
};

/// What the next calls find. Lives as long as the test wants it; one at a time.
class ImageScript {
public:
    ImageScript();
    ~ImageScript();
    ImageScript(const ImageScript&) = delete;
    ImageScript& operator=(const ImageScript&) = delete;

    int32_t format = kHostFormatUnknown;
    std::vector<ImageMarker> markers;      ///< of HostLoadMarkers
    std::optional<std::string> tag;        ///< bytes of tag 34675; ERR_NO_PROFILE without
    std::optional<uint64_t> claimedCount;  ///< said of the tag instead of its size
    std::string stream;                    ///< what HostFileRead reads
    int32_t mostPerRead = INT32_MAX;       ///< a read delivers no more at once

    /// The n-th call of an operation, from 1, gives this instead of doing anything; 0: every call.
    void Answer(const std::string& operation, int64_t result, int32_t n = 0);
    /// The n-th call of an operation touches memory that is not there; also of one that ScriptTouches() tells of.
    void FaultIn(const std::string& operation, int32_t n = 1);

    const std::vector<ImageCall>& Calls() const { return calls_; }
    std::vector<ImageCall> CallsOf(const std::string& operation) const;
    /// Their names in order, with blanks between.
    std::string Operations() const;
    int32_t OpenStreams() const { return openStreams_; }
    /// Collections that were made and not released. The script releases them at its end.
    size_t LiveMarkers() const { return liveMarkers_.size(); }
    /// The stream's front comes again; calls and what is planned go on.
    void Rewind() { position_ = 0; }
    /// Where the stream stands.
    int64_t Position() const { return position_; }
    /// What is set for the next save.
    HostMarkers CurrentMarkers() const { return currentMarkers_; }
    uint64_t CurrentTag() const { return currentTag_; }

private:
    friend struct ImageScriptAccess;

    std::map<std::string, std::map<int32_t, int64_t>> answers_;
    std::map<std::string, int32_t> faults_;
    std::map<std::string, int32_t> counts_;
    std::vector<ImageCall> calls_;
    int64_t position_ = 0;
    int32_t openStreams_ = 0;
    std::set<HostMarkers> liveMarkers_;
    std::vector<uint8_t> handedOut_;
    HostMarkers currentMarkers_ = nullptr;
    uint64_t currentTag_ = 0;
};

/// Operations on memory come by, so that they may fault.
void ScriptTouches(const char* operation);

/// Streams of the script, for the host's file operations. Each does nothing without a script.
bool ScriptOpens(const ZvChar* name, int32_t reserved, int32_t mode, HostFile* file);
bool ScriptOwns(HostFile file);
int32_t ScriptRead(const char* operation, void* buffer, int32_t count);
int64_t ScriptSeek(int64_t offset, int32_t origin);
void ScriptClose();

}  // namespace zv::test
