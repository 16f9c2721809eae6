// zvclr settings: what it prints of a dialog's choices, and that zvclr convert takes it.
#include "settings_command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tool_support.h"

namespace {

using nlohmann::json;
using zvtest::Bytes;
using zvtest::Folder;
using zvtest::Outcome;
using Words = std::vector<std::string>;

/// A record with all that it points to.
class Record {
public:
    Record(bool cmyk, uint32_t method) {
        params_.size = sizeof params_;
        params_.activeMethod = method;
        params_.methods = method;
        params_.emulationMethod = CLRMETHOD_EMULATION;
        params_.whitePoint = &white_;
        params_.cmykParams = cmyk ? &inks_ : nullptr;
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    Record& white(uint32_t code) {
        white_.whiteCode = code;
        return *this;
    }
    Record& profiles(const std::u16string& input, const std::u16string& output) {
        std::copy(input.begin(), input.end(), params_.inputProfileName);
        std::copy(output.begin(), output.end(), params_.outputProfileName);
        return *this;
    }
    Record& table(const std::u16string& name) {
        std::copy(name.begin(), name.end(), params_.emulationTableName);
        return *this;
    }

    operator const ClrParams&() const { return params_; }

private:
    ClrWhitePoint white_ = {50, 0.0, 0.0};
    ClrCmykParams inks_ = {12, 250, 1};
    ClrParams params_ = {};
};

Words wordsOf(const ClrParams& params) { return zvtool::convertOptions(params).words; }
Words notesOf(const ClrParams& params) { return zvtool::convertOptions(params).notes; }

bool speaks(const Words& notes, const std::string& of) {
    return notes.size() == 1 && notes[0].find(of) != std::string::npos;
}

TEST(SettingsOptions, FormulasComeWithTheGcrOfTheCmykDialogOnly) {
    EXPECT_EQ(wordsOf(Record(true, CLRMETHOD_BUILTIN)), (Words{"--method", "builtin", "--gcr", "250"}));
    EXPECT_EQ(wordsOf(Record(false, CLRMETHOD_BUILTIN)), (Words{"--method", "builtin"}));
    for (const bool cmyk : {false, true}) {
        EXPECT_EQ(notesOf(Record(cmyk, CLRMETHOD_BUILTIN).white(0)), Words{}) << "no white goes with formulas";
        EXPECT_EQ(wordsOf(Record(cmyk, CLRMETHOD_EMULATION).white(65)), (Words{"--method", "emulation"}));
        EXPECT_EQ(notesOf(Record(cmyk, CLRMETHOD_EMULATION)), Words{});
    }
}

TEST(SettingsOptions, ProfilesComeWithTheirWhite) {
    for (const bool cmyk : {false, true}) {
        EXPECT_EQ(wordsOf(Record(cmyk, CLRMETHOD_ICC)), (Words{"--method", "icc"}));
        EXPECT_EQ(notesOf(Record(cmyk, CLRMETHOD_ICC)), Words{});
        for (const uint32_t code : {55U, 65U, 75U, 93U}) {
            EXPECT_EQ(wordsOf(Record(cmyk, CLRMETHOD_ICC).white(code)),
                      (Words{"--method", "icc", "--white", "D" + std::to_string(code)}));
            EXPECT_TRUE(speaks(notesOf(Record(cmyk, CLRMETHOD_ICC).white(code)), "--white to cmyk, cmy and lab only"));
        }
        EXPECT_EQ(wordsOf(Record(cmyk, CLRMETHOD_ICC).white(0)), (Words{"--method", "icc"}));
        EXPECT_TRUE(speaks(notesOf(Record(cmyk, CLRMETHOD_ICC).white(0)), "add --white x,y"));
    }
}

TEST(SettingsOptions, FilesStandAsTheRecordOrdersThem) {
    const Record inks(true, CLRMETHOD_CUSTOM_ICC);
    const Record lab(false, CLRMETHOD_CUSTOM_ICC);
    EXPECT_EQ(notesOf(inks).size(), 2U);
    EXPECT_EQ(wordsOf(inks), (Words{"--method", "custom-icc"}));

    Record both(true, CLRMETHOD_CUSTOM_ICC);
    both.profiles(u"/a/in.icm", u"/a/\u00fcber \U0001F3A8.icm").white(65);
    EXPECT_EQ(wordsOf(both), (Words{"--method", "custom-icc", "--input-profile", "/a/in.icm", "--output-profile",
                                    "/a/über 🎨.icm", "--white", "D65"}));
    EXPECT_EQ(notesOf(both), Words{});
    EXPECT_TRUE(speaks(notesOf(Record(true, CLRMETHOD_CUSTOM_ICC).profiles(u"", u"b")), "--input-profile"));
    EXPECT_TRUE(speaks(notesOf(Record(true, CLRMETHOD_CUSTOM_ICC).profiles(u"a", u"")), "--output-profile"));
    EXPECT_TRUE(speaks(notesOf(Record(false, CLRMETHOD_CUSTOM_ICC).profiles(u"a", u"b")), "RGB to LAB"));

    EXPECT_EQ(wordsOf(Record(true, CLRMETHOD_CUSTOM_EMULATION).table(u"t.tif")),
              (Words{"--method", "custom-emulation", "--table", "t.tif"}));
    EXPECT_EQ(wordsOf(Record(true, CLRMETHOD_CUSTOM_EMULATION)), (Words{"--method", "custom-emulation"}));
    EXPECT_TRUE(speaks(notesOf(Record(true, CLRMETHOD_CUSTOM_EMULATION)), "--table"));
}

TEST(SettingsOptions, NamesThatMeanSomethingElseAreMadePaths) {
    const Words words = wordsOf(Record(true, CLRMETHOD_CUSTOM_ICC).profiles(u"embedded", u"--white"));
    EXPECT_EQ(words[3], "./embedded");
    EXPECT_EQ(words[5], "./--white");
    EXPECT_EQ(wordsOf(Record(true, CLRMETHOD_CUSTOM_EMULATION).table(u"-"))[3], "./-");
}

TEST(SettingsOptions, AMethodThatNoDialogLeavesIsSaidNotGuessed) {
    EXPECT_EQ(wordsOf(Record(true, 32)), Words{});
    EXPECT_TRUE(speaks(notesOf(Record(true, 32)), "no method 32"));
    EXPECT_TRUE(json::parse(zvtool::settingsJson(Record(true, 32)))["activeMethodName"].is_null());
}

TEST(SettingsOptions, AShellTakesTheLineApartIntoTheSameWords) {
    const Words words = {
        "plain",         "/a/b-c_d.icm", "two words", "it's",   "",         "$HOME `id` \"q\"", "a\\b", "*?[x]", "~",
        "line\nbreak's", "\x1b[31m\x7f", "tab\t\\1",  "end\n7", "\xc3\xbc", "a;b&c|d>e",        "#x",   "!y"};
    const std::string line = zvtool::shellLine(words);
    EXPECT_EQ(line.find_first_of("\n\t\x1b\x7f"), std::string::npos);
    EXPECT_EQ(line.substr(0, line.find(" 'two")), "plain /a/b-c_d.icm");
    std::string expected;
    for (const std::string& word : words) expected += word + "|";
    EXPECT_EQ(zvtest::shell("printf '%s|' " + line), expected);
    EXPECT_EQ(zvtool::shellLine({}), "");
}

TEST(SettingsJson, HoldsEveryFieldOfTheRecord) {
    Record record(true, CLRMETHOD_CUSTOM_ICC);
    record.profiles(u"/a \"b\".icm", u"\u00fc\nx").table(u"t.tif").white(93);
    EXPECT_EQ(json::parse(zvtool::settingsJson(record)),
              json::parse(R"({"size": 1648, "activeMethod": 4, "activeMethodName": "custom-icc", "methods": 4,
                  "emulationMethod": 8, "whitePoint": {"whiteCode": 93, "x": 0.0, "y": 0.0},
                  "inputProfileName": "/a \"b\".icm", "outputProfileName": "ü\nx", "emulationTableName": "t.tif",
                  "cmykParams": {"size": 12, "gcrLevel": 250, "mask": 1}})"));
    const json lab = json::parse(zvtool::settingsJson(Record(false, CLRMETHOD_ICC)));
    EXPECT_FALSE(lab.contains("cmykParams"));
    EXPECT_EQ(lab["inputProfileName"], "");
}

TEST(SettingsJson, NamesEveryMethod) {
    const Words names = {"builtin", "icc", "custom-icc", "emulation", "custom-emulation"};
    for (size_t i = 0; i < names.size(); ++i) {
        const json fields = json::parse(zvtool::settingsJson(Record(false, 1U << i)));
        EXPECT_EQ(fields["activeMethod"], 1U << i);
        EXPECT_EQ(fields["activeMethodName"], names[i]);
    }
}

TEST(SettingsJson, HalfACharacterIsNoReasonToFail) {
    const std::u16string name = {u'a', 0xD800, u'b'};
    EXPECT_EQ(json::parse(zvtool::settingsJson(Record(true, 4).profiles(name, u"")))["inputProfileName"], "a\ufffdb");
}

/// The library in a folder of its own, with another program in the place of zvclr-settings.
class SettingsCommand : public testing::Test {
protected:
    SettingsCommand() {
        namespace fs = std::filesystem;
        fs::create_directories(path("lib"));
        fs::create_directories(path("bin"));
        fs::copy_file(ZVCLR_LIBRARY, path("lib/" ZVCLR_LIBRARY_NAME));
        fs::copy_file(ZVCLR_SETTINGS_STAND_IN, path("bin/zvclr-settings"));
        fs::copy_file(ZVCLR_PROFILES "/105.icm", path("my rgb.icm"));
        fs::copy_file(ZVCLR_PROFILES "/106.icm", path("lab.icm"));
        fs::copy_file(ZVCLR_PROFILES "/107.icm", path("press.icm"));
        zvtest::writeFile(path("a.ppm"), zvtest::ppm(6, 6, zvtest::pattern(6, 6)));
    }

    std::string path(const std::string& name) const { return folder_.path(name); }

    /// Runs `zvclr settings` without any screen, with a user who does this.
    Outcome settings(const Words& arguments, const std::string& user, const Words& variables = {}) const {
        Words words = {"/usr/bin/env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "-u", "QT_QPA_PLATFORM"};
        words.insert(words.end(), {"LD_LIBRARY_PATH=" + path("lib"), "ZVCLR_TEST_USER=" + user,
                                   "ZVCLR_TEST_ARGUMENTS=" + path("arguments")});
        words.insert(words.end(), variables.begin(), variables.end());
        words.insert(words.end(), {ZVCLR_PROGRAM, "settings"});
        words.insert(words.end(), arguments.begin(), arguments.end());
        return zvtest::runProgram(words);
    }

    /// The line of options after these choices and OK, which must be all that is said.
    std::string optionsOf(const std::string& dialog, const std::string& user) const {
        const Outcome outcome = settings({dialog, "--format", "options"}, user + "\npress 1");
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "") << user;
        EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 1) << outcome.out;
        return outcome.out.substr(0, outcome.out.find('\n'));
    }

    /// The options are pasted into a line of shell, as they were printed.
    void convertTakes(const std::string& files, const std::string& options) const {
        zvtest::shell("cd '" + folder_.root() + "'; $ZVCLR convert " + files + " " + options);
    }

    Folder folder_;
};

TEST_F(SettingsCommand, PrintsOptionsAndThenJson) {
    const Outcome outcome = settings({"cmyk"}, "choose 116 1\nchoose 123 3\npress 1");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err.rfind("zvclr: note: options: ", 0), 0U) << outcome.err;
    const size_t end = outcome.out.find('\n');
    EXPECT_EQ(outcome.out.substr(0, end), "--method icc --white D65");
    const json fields = json::parse(outcome.out.substr(end));
    EXPECT_EQ(fields["activeMethodName"], "icc");
    EXPECT_EQ(fields["whitePoint"]["whiteCode"], 65);

    const Outcome alone = settings({"cmyk", "--format", "json"}, "choose 116 1\nchoose 123 3\npress 1");
    EXPECT_EQ(alone.err, "");
    EXPECT_EQ(json::parse(alone.out), fields);
}

TEST_F(SettingsCommand, TheParentWindowReachesTheDialog) {
    const std::string rest = "--version-of-caller\n" ZVCLR_VERSION_STRING "\n--reply-to\n3\n";
    EXPECT_EQ(settings({"lab", "--parent", "0x2e00007"}, "press 1").code, 0);
    const Bytes text = zvtest::readFile(path("arguments"));
    EXPECT_EQ(std::string(text.begin(), text.end()), "lab\n--parent\n0x2e00007\n" + rest);
    EXPECT_EQ(settings({"cmyk", "--parent", "19"}, "press 1").code, 0);
    const Bytes again = zvtest::readFile(path("arguments"));
    EXPECT_EQ(std::string(again.begin(), again.end()), "cmyk\n--parent\n0x13\n" + rest);
}

TEST_F(SettingsCommand, ConvertTakesTheOptionsOfTheCmykDialog) {
    const std::string toInks = "a.ppm c.tif --to cmyk";
    const std::string toRgb = "c.tif d.png --to rgb";
    const std::string inks = "browse 118 " + path("press.icm");
    const std::string rgb = "browse 120 " + path("my rgb.icm");
    const std::string formulas = optionsOf("cmyk", "");
    EXPECT_EQ(formulas, "--method builtin --gcr 250");
    convertTakes(toInks, formulas);
    convertTakes(toRgb, formulas);
    convertTakes(toInks, optionsOf("cmyk", "choose 116 1"));
    convertTakes(toInks, settings({"cmyk", "--format", "options"}, "choose 116 1\nchoose 123 4\npress 1").out);
    convertTakes(toRgb, optionsOf("cmyk", "choose 116 1"));
    convertTakes(toRgb, optionsOf("cmyk", "choose 116 2\n" + inks + "\n" + rgb));
    convertTakes(toInks, optionsOf("cmyk", "choose 116 2\nchoose 123 5\ntick 1002\n" + inks + "\n" + rgb));
    convertTakes(toRgb, optionsOf("cmyk", "choose 116 3\ntick 1001"));
    zvtest::shell("cd '" + folder_.root() +
                  "'; $ZVCLR table make chart.tif; $ZVCLR convert chart.tif scan.tif --to rgb; $ZVCLR table read "
                  "scan.tif 'a table.tif'");
    convertTakes(toRgb, optionsOf("cmyk", "choose 116 4\nbrowse 122 " + path("a table.tif")));
}

TEST_F(SettingsCommand, ConvertTakesTheOptionsOfTheLabDialog) {
    const std::string toLab = "a.ppm l.tif --to lab";
    const std::string toRgb = "l.tif d.png --to rgb";
    for (const char* user : {"", "choose 116 1"}) {
        convertTakes(toLab, optionsOf("lab", user));
        convertTakes(toRgb, optionsOf("lab", user));
    }
    convertTakes(toLab, optionsOf("lab", "choose 116 3"));
    zvtest::shell(
        "cd '" + folder_.root() +
        "'; $ZVCLR table make chart.tif --from rgb --to lab; $ZVCLR table read chart.tif t.tif --from rgb --to lab");
    convertTakes(toLab, optionsOf("lab", "choose 116 4\nbrowse 131 " + path("t.tif")));

    const Outcome outcome =
        settings({"lab", "--format", "options"},
                 "choose 116 2\nbrowse 118 " + path("my rgb.icm") + "\nbrowse 120 " + path("lab.icm") + "\npress 1");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_NE(outcome.err.find("RGB to LAB"), std::string::npos) << outcome.err;
    convertTakes(toLab, outcome.out);
}

TEST_F(SettingsCommand, AConverterThatCannotBeMadeIsSaidBesideTheChoices) {
    const std::string missing = "choose 116 2\nbrowse 118 /nowhere/a.icm\nbrowse 120 /nowhere/b.icm\npress 1";
    const Outcome outcome = settings({"lab"}, missing);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(
        outcome.out.rfind("--method custom-icc --input-profile /nowhere/a.icm --output-profile /nowhere/b.icm\n{", 0),
        0U)
        << outcome.out;
    EXPECT_NE(outcome.err.find("zvclr: error: no converter from rgb to lab can be made with these choices: ERR_"),
              std::string::npos)
        << outcome.err;
    EXPECT_EQ(settings({"cmyk"}, missing).code, 0) << "no converter is asked for";
}

TEST_F(SettingsCommand, CancelPrintsNothing) {
    for (const char* user : {"choose 116 1\npress 2", ""}) {
        for (const char* dialog : {"cmyk", "lab"}) {
            const Outcome outcome = settings({dialog}, user);
            EXPECT_EQ(outcome.code, 1);
            EXPECT_EQ(outcome.out, "");
            EXPECT_NE(outcome.err.find("nothing was chosen: the dialog was cancelled or could not be shown"),
                      std::string::npos)
                << outcome.err;
        }
    }
}

TEST_F(SettingsCommand, WithoutAScreenTheMessageSaysWhatIsMissing) {
    EXPECT_NE(settings({"cmyk"}, "press 2").err.find("neither DISPLAY nor WAYLAND_DISPLAY is set"), std::string::npos);
    for (const char* variable : {"DISPLAY=:nowhere", "WAYLAND_DISPLAY=nowhere", "QT_QPA_PLATFORM=offscreen"}) {
        const Outcome outcome = settings({"cmyk"}, "press 2", {variable});
        EXPECT_EQ(outcome.err, "zvclr: error: nothing was chosen: the dialog was cancelled or could not be shown\n");
    }
    EXPECT_NE(settings({"cmyk"}, "press 2", {"DISPLAY="}).err.find("neither DISPLAY"), std::string::npos);
}

TEST_F(SettingsCommand, AProgramThatDoesNotStartIsACancel) {
    zvtest::writeFile(path("bin/zvclr-settings"), std::string("no program"));
    std::filesystem::permissions(path("bin/zvclr-settings"), std::filesystem::perms::owner_all);
    const Outcome outcome = settings({"cmyk"}, "press 1");
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find("nothing was chosen"), std::string::npos);
}

TEST_F(SettingsCommand, TheCommandLineIsChecked) {
    for (const Words& arguments : {Words{},
                                   {"rgb"},
                                   {"cmyk", "lab"},
                                   {"cmyk", "--format", "xml"},
                                   {"cmyk", "--json"},
                                   {"cmyk", "--parent", "window"},
                                   {"cmyk", "--parent", "-1"},
                                   {"cmyk", "--parent"}}) {
        const Outcome outcome = settings(arguments, "press 1");
        EXPECT_EQ(outcome.code, 2) << zvtool::shellLine(arguments);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.rfind("zvclr: error: ", 0), 0U) << outcome.err;
        EXPECT_FALSE(zvtest::exists(path("arguments"))) << "no dialog was shown";
    }
    const Outcome help = settings({"--help"}, "");
    EXPECT_EQ(help.code, 0);
    for (const char* word : {"DIALOG", "--format", "--parent", "zvclr-settings", "Exit codes"}) {
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    }
}

}  // namespace
