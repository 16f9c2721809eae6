// Bytes as an image file: its profile is loaded through the host's own file layer, and compared with a second plain
// reading.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "Common/embedded_profile.h"
#include "fuzz/memory_file.h"
#include "fuzz/plain_images.h"
#include "host/host.h"

namespace {

using namespace zv;
using zvfuzz::Bytes;
using zvfuzz::Reading;

void Require(bool condition) {
    if (!condition) std::abort();
}

Reading Plain(IccRoute route, const Bytes& file, bool findsLineAtEnd) {
    switch (route) {
        case IccRoute::kMarkers:
            return zvfuzz::ReadJpeg(file);
        case IccRoute::kTag:
            return zvfuzz::ReadTiff(file);
        case IccRoute::kEps:
            return zvfuzz::ReadEps(file, findsLineAtEnd);
        case IccRoute::kChunks:
            return zvfuzz::ReadPicture(file);
        default:
            return {ERR_FORMAT_NO_ICC, std::nullopt};
    }
}

/// A record that holds a block already.
class Profile {
public:
    Profile() {
        Require(Zv_InitICCProfile(&record_, sizeof record_) == CLR_SUCCESS);
        record_.profileData = earlier_;
        record_.profileSize = sizeof earlier_;
    }
    ~Profile() {
        if (HasEarlier()) record_.profileData = nullptr;
        Zv_FreeICCProfile(&record_);
    }
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;

    int32_t Load(const ZvChar* name) { return Zv_LoadICCProfile(name, &record_, nullptr); }
    bool HasEarlier() const { return record_.profileData == earlier_ && record_.profileSize == sizeof earlier_; }
    bool Holds(const std::optional<Bytes>& wanted) const {
        if (!wanted) return record_.profileData == nullptr && record_.profileSize == 0;
        return record_.profileData != nullptr && record_.profileSize == wanted->size() &&
               std::equal(wanted->begin(), wanted->end(), record_.profileData);
    }

private:
    uint8_t earlier_[3] = {1, 2, 3};
    ClrIccProfile record_;
};

bool Agrees(const Profile& profile, int32_t result, IccRoute route, const Reading& plain) {
    if (result != plain.result) return false;
    // Where the tag is not there the way has failed; elsewhere it has found nothing.
    return result == ERR_NO_PROFILE && route != IccRoute::kTag ? profile.HasEarlier() : profile.Holds(plain.profile);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const zvfuzz::MemoryFile file;
    file.Hold(data, size);
    const Bytes bytes(data, data + size);

    IccRoute route = IccRoute::kNone;
    Require(IccFindRoute(file.Name(), nullptr, &route) == CLR_SUCCESS);
    Profile profile;
    const int32_t result = profile.Load(file.Name());
    const Reading plain = Plain(route, bytes, false);
    if (Agrees(profile, result, route, plain)) return 0;
    Require(route == IccRoute::kEps && Agrees(profile, result, route, Plain(route, bytes, true)));
    return 0;
}
