// What is wrong with a profile, or could be better.
#ifndef ZVCLR_TOOLS_PROFILE_PROBLEMS_H
#define ZVCLR_TOOLS_PROFILE_PROBLEMS_H

#include <string>
#include <vector>

#include "decode.h"
#include "engine.h"
#include "profile.h"

namespace zvinfo {

enum class Level { kError, kWarning, kNote, kHint };

const char* levelName(Level level);

struct Problem {
    Level level;
    std::string place;  ///< "header", "tag table" or a tag
    std::string text;
};

/// The worst first. `contents` are those of the profile's tags.
std::vector<Problem> findProblems(const Profile& profile, const std::vector<Content>& contents, const EngineUse& use);

/// Collects what the single checks find.
class Findings {
public:
    void add(Level level, std::string place, std::string text) {
        problems_.push_back({level, std::move(place), std::move(text)});
    }
    std::vector<Problem> take();

private:
    std::vector<Problem> problems_;
};

// The checks by subject.
void checkHeader(const Profile& profile, Findings& findings);
void checkTable(const Profile& profile, Findings& findings);
void checkTags(const Profile& profile, const std::vector<Content>& contents, Findings& findings);
void checkRequired(const Profile& profile, Findings& findings);

}  // namespace zvinfo

#endif  // ZVCLR_TOOLS_PROFILE_PROBLEMS_H
