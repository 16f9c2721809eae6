// The example of a settings dialog, with another program in the place of the one that shows windows.
#include <gtest/gtest.h>

#include "program_runs.h"

namespace {

namespace fs = std::filesystem;
using zvtest::Outcome;

class DialogExample : public zvtest::ProgramRuns {
protected:
    void SetUp() override {
        ProgramRuns::SetUp();
        fs::create_directories(folder_ / "lib");
        fs::create_directories(folder_ / "bin");
        fs::copy_file(LIBRARY_FILE, folder_ / "lib" / LIBRARY_NAME);
    }

    /// Without a screen, with a user who does this.
    Outcome runDialog(const std::string& user) const {
        return run("env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM LD_LIBRARY_PATH='" + path("lib") +
                   "' ZVCLR_TEST_USER='" + user + "' " SETTINGS_DIALOG_PROGRAM);
    }
};

TEST_F(DialogExample, WithoutADialogNothingIsChosen) {
    // An empty file in the place of the program.
    std::ofstream(folder_ / "bin/zvclr-settings").close();
    fs::permissions(folder_ / "bin/zvclr-settings", fs::perms::owner_all);
    const Outcome outcome = runDialog("press 1");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, "Nothing was chosen.\n");
}

TEST_F(DialogExample, ConvertsAsTheUserChose) {
    fs::copy_file(STAND_IN_PROGRAM, folder_ / "bin/zvclr-settings");
    EXPECT_EQ(runDialog("press 2").out, "Nothing was chosen.\n");
    const Outcome formulas = runDialog("press 1");
    EXPECT_EQ(formulas.exitCode, 0) << formulas.err;
    EXPECT_EQ(formulas.out.rfind("method 1, white point 50: C ", 0), 0U) << formulas.out;
    const Outcome profiles = runDialog("choose 116 1\nchoose 123 3\npress 1");
    EXPECT_EQ(profiles.exitCode, 0) << profiles.err;
    EXPECT_EQ(profiles.out.rfind("method 2, white point 65: C ", 0), 0U) << profiles.out;
    EXPECT_NE(profiles.out.substr(profiles.out.find(':')), formulas.out.substr(formulas.out.find(':')));

    const Outcome missing = runDialog("choose 116 2\nbrowse 118 /nowhere/a.icm\nbrowse 120 /nowhere/b.icm\npress 1");
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.out, "");
    EXPECT_EQ(missing.err.rfind("ERR_", 0), 0U) << missing.err;
}

}  // namespace
