// Profiles in and out of files of a test's folder.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "icc_samples.h"
#include "program_runs.h"
#include "zvicc.h"

namespace zvtest {

struct Loaded {
    int32_t result;
    std::string bytes;
};

class ImageProfiles : public ProgramRuns {
protected:
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }
    std::string bytesOf(const std::string& name) const { return textOf(path(name)); }

    Loaded load(const std::string& name) const {
        TestProfile profile;
        const int32_t result = Zv_LoadICCProfileA(path(name).c_str(), profile.get(), nullptr);
        const auto* bytes = reinterpret_cast<const char*>(profile->profileData);
        return {result, bytes == nullptr ? "" : std::string(bytes, profile->profileSize)};
    }
    int32_t save(const std::string& name, std::string profile, const SAVEFILEOPTIONA* options = nullptr) const {
        ClrIccProfile record = {};
        record.structSize = sizeof record;
        record.profileSize = profile.size();
        record.profileData = reinterpret_cast<uint8_t*>(profile.data());
        return Zv_SaveICCProfileA(path(name).c_str(), &record, options);
    }
};

}  // namespace zvtest
