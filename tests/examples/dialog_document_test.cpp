// What docs/dialogs.md says is what the dialogs do.
#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "document_tables.h"
#include "tests/support/scripted_dialogs.h"
#include "zvclr.h"

namespace {

using namespace zv;
using namespace zv::test;
using zvtest::Cells;
using zvtest::plain;
using zvtest::projectFile;
using zvtest::tableIn;

constexpr int kMethodList = 116;
constexpr int kWhiteList = 123;
constexpr int kBgrBox = 1001;
constexpr int kDirectionBox = 1002;
constexpr int kArrows = 127;
constexpr int kRadios[] = {134, 135};

struct Kind {
    const char* name;
    int32_t type;
    size_t column;  ///< of tables with a column for each
};
constexpr Kind kKinds[] = {{"CMYK", 1, 2}, {"CIELab", 2, 3}};

std::string document() { return projectFile("docs/dialogs.md"); }

std::string narrow(const std::u16string& text) {
    std::string result;
    for (const char16_t letter : text) result += static_cast<char>(letter);
    return result;
}

/// Choices of a dialog that a user has worked with and ended with OK.
struct Choices {
    int32_t result = 0;
    ClrWhitePoint white = {};
    ClrCmykParams inks = {};
    ClrParams params = {};
};

template <typename User>
Choices playTo(int32_t type, int end, const User& user) {
    Choices choices;
    choices.params.whitePoint = &choices.white;
    choices.params.cmykParams = &choices.inks;
    ScriptedDesktop::Get().user = [&](ScriptedWindow& dialog) {
        user(dialog);
        dialog.Notify(end, BN_CLICKED);
    };
    ClrHandle* converter = nullptr;
    choices.result = Zv_ClrDlg(type, nullptr, &converter, &choices.params);
    if (choices.result == CLR_SUCCESS) Zv_ClrFree(converter);
    ScriptedDesktop::Get().Reset();
    return choices;
}

/// Shows a dialog for a look at it.
template <typename User>
void look(int32_t type, const User& user) {
    playTo(type, IDCANCEL, user);
}

void choose(ScriptedWindow& dialog, int list, size_t index) {
    SendMessageW(GetDlgItem(dialog.Handle(), list), CB_SETCURSEL, index, 0);
    dialog.Notify(list, CBN_SELCHANGE);
}

void press(ScriptedWindow& dialog, int button) {
    for (const int radio : kRadios) {
        if (button == kRadios[0] || button == kRadios[1]) dialog.Find(radio)->checked = radio == button;
    }
    dialog.Notify(button, BN_CLICKED);
}

/// The numbers of a cell; those in brackets only if asked for.
std::set<int> idsIn(const std::string& cell, bool bracketed) {
    const std::string text = bracketed ? cell : std::regex_replace(cell, std::regex("\\([^)]*\\)"), "");
    static const std::regex number("\\d+");
    std::set<int> ids;
    for (std::sregex_iterator at(text.begin(), text.end(), number), end; at != end; ++at)
        ids.insert(std::stoi(at->str()));
    return ids;
}

/// What the method decides about.
std::set<int> enabledIn(const ScriptedWindow& dialog, const Kind& kind) {
    std::set<int> always = {IDOK, IDCANCEL, kMethodList, kBgrBox};
    always.insert(kind.type == 1 ? kArrows : kDirectionBox);
    std::set<int> enabled;
    for (const ScriptedWindow& control : dialog.controls) {
        if (control.kind == DialogControlKind::kLabel || control.kind == DialogControlKind::kGroup) continue;
        if (always.count(control.id) != 0) {
            EXPECT_TRUE(control.enabled) << control.id;
        } else if (control.enabled) {
            enabled.insert(control.id);
        }
    }
    return enabled;
}

uint32_t flagNamed(const std::string& name) {
    static const std::map<std::string, uint32_t> flags = {{"CLRMETHOD_BUILTIN", CLRMETHOD_BUILTIN},
                                                          {"CLRMETHOD_ICC", CLRMETHOD_ICC},
                                                          {"CLRMETHOD_CUSTOM_ICC", CLRMETHOD_CUSTOM_ICC},
                                                          {"CLRMETHOD_EMULATION", CLRMETHOD_EMULATION},
                                                          {"CLRMETHOD_CUSTOM_EMULATION", CLRMETHOD_CUSTOM_EMULATION}};
    const auto found = flags.find(name);
    return found == flags.end() ? 0 : found->second;
}

const ZvChar* fieldNamed(const ClrParams& params, const std::string& name) {
    if (name == "inputProfileName") return params.inputProfileName;
    if (name == "outputProfileName") return params.outputProfileName;
    return name == "emulationTableName" ? params.emulationTableName : nullptr;
}

TEST(DialogDocument, DialogsAreThoseOfTheTable) {
    const std::vector<Cells> rows = tableIn(document(), "| `dialogType` | title | resource | converter |");
    ASSERT_EQ(rows.size(), std::size(kKinds));
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i][0], std::to_string(kKinds[i].type));
        look(kKinds[i].type, [&](ScriptedWindow& dialog) {
            EXPECT_EQ(dialog.shape->title, rows[i][1]);
            EXPECT_EQ(std::to_string(dialog.shape->id), rows[i][2]);
        });
    }
    EXPECT_EQ(rows[0][3], "to `CLRSPACE_CMYK`");
    EXPECT_EQ(rows[1][3], "to `CLRSPACE_LAB`");
}

/// A control in the words of the document.
struct Described {
    std::string kind;
    std::string text;
};

std::map<int, Described> controlsOf(const DialogTemplate& shape) {
    static const std::map<DialogControlKind, std::string> kinds = {
        {DialogControlKind::kGroup, "frame"},
        {DialogControlKind::kMethods, "list"},
        {DialogControlKind::kWhites, "sorted list"},
        {DialogControlKind::kName, "name"},
        {DialogControlKind::kNumber, "number"},
        {DialogControlKind::kSpin, "arrows"},
        {DialogControlKind::kBrowse, "browse"},
        {DialogControlKind::kDefaultButton, "default button"},
        {DialogControlKind::kButton, "button"},
        {DialogControlKind::kCheck, "check box"},
        {DialogControlKind::kFirstRadio, "first radio button"},
        {DialogControlKind::kRadio, "radio button"}};
    std::map<int, Described> controls;
    std::string label;
    int last = 0;
    for (const DialogControl& control : shape.controls) {
        const std::string text = std::regex_replace(control.text, std::regex("&"), "");
        if (control.kind == DialogControlKind::kLabel) label = text;
        if (control.id == kNoControlId) continue;
        const bool arrows = control.kind == DialogControlKind::kSpin;
        controls[control.id] = {kinds.at(control.kind), arrows         ? "of " + std::to_string(last)
                                                        : text.empty() ? label
                                                                       : text};
        last = control.id;
    }
    return controls;
}

TEST(DialogDocument, ControlsAreThoseOfTheTemplates) {
    const std::vector<Cells> rows = tableIn(document(), "| id | control | CMYK | CIELab |");
    for (const Kind& kind : kKinds) {
        std::map<int, Described> controls = controlsOf(kDialogTemplates[kind.type - 1]);
        for (const Cells& row : rows) {
            const auto found = controls.find(std::stoi(row[0]));
            ASSERT_EQ(found == controls.end(), row[kind.column] == "-") << row[0];
            if (found == controls.end()) continue;
            EXPECT_EQ(row[1], found->second.kind) << row[0];
            EXPECT_EQ(row[kind.column], found->second.text) << row[0];
            controls.erase(found);
        }
        EXPECT_TRUE(controls.empty()) << kind.name << " " << controls.begin()->first;
    }
}

TEST(DialogDocument, MethodsEnableWhatTheTableSays) {
    const std::vector<Cells> rows = tableIn(document(), "| method | record | CMYK | CIELab |");
    const std::vector<Cells> directions = tableIn(document(), "| direction | enabled table |");
    ASSERT_EQ(directions.size(), std::size(kRadios));
    for (const Kind& kind : kKinds) {
        for (const size_t white : {1U, 0U}) {
            look(kind.type, [&](ScriptedWindow& dialog) {
                ASSERT_EQ(rows.size(), dialog.Find(kMethodList)->items.size());
                choose(dialog, kMethodList, 1);
                choose(dialog, kWhiteList, white);
                for (size_t i = 0; i < rows.size(); ++i) {
                    EXPECT_EQ(narrow(dialog.Find(kMethodList)->items[i]), rows[i][0]);
                    choose(dialog, kMethodList, i);
                    std::set<int> expected = idsIn(rows[i][kind.column], white == 0);
                    if (rows[i][kind.column].find("a table by direction") == std::string::npos) {
                        EXPECT_EQ(enabledIn(dialog, kind), expected) << kind.name << ": " << rows[i][0];
                        continue;
                    }
                    for (size_t d = 0; d < directions.size(); ++d) {
                        std::set<int> both = expected;
                        both.merge(idsIn(directions[d][1], false));
                        const std::string text = narrow(dialog.Find(kRadios[d])->text);
                        EXPECT_EQ(std::regex_replace(text, std::regex("&"), ""), directions[d][0]);
                        press(dialog, kRadios[d]);
                        EXPECT_EQ(enabledIn(dialog, kind), both) << directions[d][0];
                    }
                }
            });
        }
    }
}

TEST(DialogDocument, MethodsGoIntoTheRecord) {
    for (const Cells& row : tableIn(document(), "| method | record | CMYK | CIELab |")) {
        const uint32_t flag = flagNamed(plain(row[1]));
        EXPECT_NE(flag, 0U) << row[1];
        for (const Kind& kind : kKinds) {
            const Choices choices = playTo(kind.type, IDOK, [&](ScriptedWindow& dialog) {
                size_t index = 0;
                while (narrow(dialog.Find(kMethodList)->items.at(index)) != row[0]) ++index;
                choose(dialog, kMethodList, index);
            });
            EXPECT_EQ(choices.params.activeMethod, flag) << kind.name;
            EXPECT_EQ(choices.params.methods, flag) << kind.name;
        }
    }
}

TEST(DialogDocument, WhitePointsAreThoseOfTheTable) {
    const std::vector<Cells> rows = tableIn(document(), "| index | text | `whiteCode` | x and y |");
    for (const Kind& kind : kKinds) {
        look(kind.type, [&](ScriptedWindow& dialog) {
            const ScriptedWindow& list = *dialog.Find(kWhiteList);
            ASSERT_EQ(rows.size(), list.items.size());
            EXPECT_EQ(narrow(list.items[static_cast<size_t>(list.selected)]), "D50");
        });
        for (size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ(rows[i][0], std::to_string(i));
            const Choices choices = playTo(kind.type, IDOK, [&](ScriptedWindow& dialog) {
                EXPECT_EQ(narrow(dialog.Find(kWhiteList)->items[i]), rows[i][1]);
                choose(dialog, kMethodList, 1);
                choose(dialog, kWhiteList, i);
                for (const int edit : {124, 125})
                    EXPECT_EQ(dialog.Find(edit)->enabled ? "enabled" : "disabled", rows[i][3]) << rows[i][1];
            });
            EXPECT_EQ(std::to_string(choices.white.whiteCode), rows[i][2]);
        }
    }
}

TEST(DialogDocument, FileChoosersAreThoseOfTheTable) {
    const std::vector<Cells> rows =
        tableIn(document(), "| button | dialog | title | files | pattern | field | shown in |");
    size_t browses = 0;
    for (const DialogTemplate& shape : kDialogTemplates) {
        for (const DialogControl& control : shape.controls)
            browses += control.kind == DialogControlKind::kBrowse ? 1 : 0;
    }
    ASSERT_EQ(rows.size(), browses);
    for (const Cells& row : rows) {
        const Kind& kind = row[1] == "CMYK" ? kKinds[0] : kKinds[1];
        ASSERT_EQ(row[1], kind.name);
        const std::u16string name = u"/a/file";
        const Choices choices = playTo(kind.type, IDOK, [&](ScriptedWindow& dialog) {
            ScriptedDesktop::Get().chooser = [&](OPENFILENAMEW& request) {
                EXPECT_EQ(narrow(request.lpstrTitle), row[2]);
                EXPECT_EQ(narrow(request.lpstrFilter), row[3]);
                EXPECT_EQ(narrow(request.lpstrFilter + row[3].size() + 1), row[4]);
                name.copy(request.lpstrFile, name.size());
                return true;
            };
            dialog.Notify(std::stoi(row[0]), BN_CLICKED);
            EXPECT_EQ(dialog.Find(std::stoi(row[6]))->text, name) << row[2];
        });
        const ZvChar* const field = fieldNamed(choices.params, plain(row[5]));
        ASSERT_NE(field, nullptr) << row[5];
        EXPECT_EQ(field, name) << row[2];
    }
}

TEST(DialogDocument, NumbersOfTheRecordAreThoseOfTheTable) {
    const Choices choices = playTo(1, IDOK, [](ScriptedWindow& dialog) {
        choose(dialog, kMethodList, 1);
        choose(dialog, kWhiteList, 0);
        for (const int edit : {124, 125, 126}) dialog.Find(edit)->text = u"0.4";
    });
    const std::map<std::string, double> numbers = {
        {"size", choices.params.size},           {"emulationMethod", choices.params.emulationMethod},
        {"whitePoint->x", choices.white.x},      {"whitePoint->y", choices.white.y},
        {"cmykParams->size", choices.inks.size}, {"cmykParams->gcrLevel", choices.inks.gcrLevel},
        {"cmykParams->mask", choices.inks.mask},
    };
    const std::set<std::string> others = {"activeMethod",     "methods",           "whitePoint->whiteCode",
                                          "inputProfileName", "outputProfileName", "emulationTableName"};
    size_t seen = 0;
    for (const Cells& row : tableIn(document(), "| field | value |")) {
        const auto found = numbers.find(plain(row[0]));
        if (found == numbers.end()) {
            EXPECT_EQ(others.count(plain(row[0])), 1U) << row[0];
            continue;
        }
        EXPECT_EQ(std::stod(row[1]), found->second) << row[0];
        ++seen;
    }
    EXPECT_EQ(seen, numbers.size());
}

TEST(DialogDocument, CodeIsThatOfTheExample) {
    const std::vector<std::string> pieces = zvtest::codeOf(document());
    ASSERT_EQ(pieces.size(), 1U);
    EXPECT_NE(projectFile("examples/settings_dialog.c").find(pieces[0]), std::string::npos);
}

}  // namespace
