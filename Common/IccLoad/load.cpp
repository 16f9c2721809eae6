#include "Common/IccLoad/load.h"

#include "Common/embedded_profile.h"
#include "host/fault_guard.h"

namespace zv {

namespace {

/// One load, as the fault guard passes it on.
struct Load {
    const ZvChar* fileName;
    const void* options;
    IccRoute route;
    IccScan scan;
    int32_t result = ERR_FILE_FAULT;  // what it is unless the way comes to its end
};

int32_t Run(Load* load) noexcept {
    switch (load->route) {
        case IccRoute::kMarkers:
            return IccReadMarkers(&load->scan, load->fileName);
        case IccRoute::kTag:
            return IccReadFileTag(load->fileName, load->scan.profile, load->options);
        case IccRoute::kEps:
            return IccReadEps(&load->scan);
        case IccRoute::kChunks:
            return IccReadChunkStream(&load->scan);
        case IccRoute::kGif:
        case IccRoute::kNone:
            break;
    }
    return ERR_FORMAT_NO_ICC;
}

void RunGuarded(Load* load) noexcept {
    const auto run = [](void* context) {
        auto* guarded = static_cast<Load*>(context);
        guarded->result = Run(guarded);
    };
    if (ZvRunGuarded(run, load)) return;
    // What faulted once may do it again.
    ZvRunGuarded([](void* context) { static_cast<Load*>(context)->scan.Release(); }, load);
}

}  // namespace

bool IccScan::NewBuffer(int64_t size) noexcept {
    buffer = static_cast<uint8_t*>(HostAlloc(size, 1, __LINE__, kIccLoadSource));
    return buffer != nullptr;
}

void IccScan::Release() noexcept {
    uint8_t* const block = buffer;
    buffer = nullptr;
    if (block != nullptr) HostFree(block, __LINE__, kIccLoadSource);
    HostMarkers const set = markers;
    markers = nullptr;
    if (set != nullptr) HostFreeMarkers(set);
}

int32_t IccAppendProfileBytes(ClrIccProfile* profile, uint64_t count, const uint8_t* bytes) noexcept {
    const uint64_t oldSize = profile->profileData != nullptr ? profile->profileSize : 0;
    const auto size = static_cast<int64_t>(oldSize + count);
    void* grown = profile->profileData != nullptr
                      ? HostReallocShared(profile->profileData, size, __LINE__, kIccLoadSource)
                      : HostAllocShared(size, 1, __LINE__, kIccLoadSource);
    if (grown == nullptr) return ERR_FAILURE;
    profile->profileData = static_cast<uint8_t*>(grown);
    HostCopy(profile->profileData + oldSize, bytes, count);
    profile->profileSize = oldSize + count;
    return CLR_SUCCESS;
}

}  // namespace zv

using namespace zv;

int32_t Zv_LoadICCProfile(const ZvChar* fileName, ClrIccProfile* profile, const void* loadOptions) {
    int32_t result = IccCheckEmbedding(fileName, profile);
    if (result != CLR_SUCCESS) return result;
    uint8_t* const oldData = profile->profileSize != 0 ? profile->profileData : nullptr;
    const uint64_t oldSize = profile->profileSize;
    profile->profileData = nullptr;
    profile->profileSize = 0;

    Load load = {fileName, loadOptions, IccRoute::kNone, {}};
    result = IccFindRoute(fileName, loadOptions, &load.route);
    if (result != CLR_SUCCESS) return result;
    load.scan.profile = profile;
    load.scan.file = HostFileOpen(fileName, 0, kHostFileRead);
    if (load.scan.file == kNoHostFile) return ERR_IMAGE_OPEN;
    RunGuarded(&load);
    HostFileClose(load.scan.file);

    // An EPS that has no such lines ends without a block too, as a JPEG without such markers does.
    const bool hasNone = load.result == CLR_SUCCESS || (load.route == IccRoute::kEps && load.result == ERR_NO_PROFILE);
    if (!hasNone || profile->profileData != nullptr) return load.result;
    profile->profileData = oldData;
    profile->profileSize = oldSize;
    return ERR_NO_PROFILE;
}
