// The CMYK profile's two directions in Lab and ink words.
#ifndef ZVCLR_TESTS_PRESS_TABLES_H
#define ZVCLR_TESTS_PRESS_TABLES_H

#include "tests/resources/profile_reader.h"

namespace zvtest {

using Words = std::vector<double>;

class Press {
public:
    Press() : Press(Profile::Open(ZVCLR_PROFILE_FOLDER "/107.icm")) {}

    Lab Print(const Words& inks) const { return LabFromWords(forward_.Evaluate(inks)); }
    Words Separate(const Lab& lab) const { return separation_.Evaluate(WordsFromLab(lab)); }
    double OutOfGamut(const Lab& lab) const { return gamut_.Evaluate(WordsFromLab(lab))[0]; }
    const ProfileLut& separation() const { return separation_; }

private:
    explicit Press(const Profile& profile)
        : forward_(profile.lut("A2B0")), separation_(profile.lut("B2A0")), gamut_(profile.lut("gamt")) {}

    ProfileLut forward_, separation_, gamut_;
};

inline double TotalInkPercent(const Words& inks) { return (inks[0] + inks[1] + inks[2] + inks[3]) / 655.35; }

}  // namespace zvtest

#endif  // ZVCLR_TESTS_PRESS_TABLES_H
