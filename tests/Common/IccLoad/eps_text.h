// EPS profiles as text, and a plain second reading of such texts.
#pragma once

#include <string>

#include "tests/Common/IccLoad/load_fixture.h"

namespace zv::test {

inline const std::string kEpsBegin = "%%BeginICCProfile:";
inline const std::string kEpsEnd = "%%EndICCProfile";
inline const std::string kCrLf = "\r\n";

inline std::string HexOf(const std::string& bytes) {
    static constexpr char kDigits[] = "0123456789abcdefABCDEF";
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        // Both cases of the letters.
        const auto digit = [&](unsigned value) { return kDigits[value >= 10 && i % 3 == 1 ? value + 6 : value]; };
        text.push_back(digit(byte >> 4U));
        text.push_back(digit(byte & 15U));
    }
    return text;
}

/// Lines of so many bytes.
inline std::string HexLines(const std::string& bytes, size_t perLine = 32, const std::string& lineEnd = kCrLf) {
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += perLine) {
        text += "% " + HexOf(bytes.substr(at, perLine)) + lineEnd;
    }
    return text;
}

inline std::string EpsOf(const std::string& bytes, size_t perLine = 32) {
    return kEpsBegin + " 0" + kCrLf + HexLines(bytes, perLine) + kEpsEnd + kCrLf;
}

/// The whole file at once, byte by byte.
class EpsModel {
public:
    explicit EpsModel(std::string text) : text_(std::move(text)) {}

    /// Where the begin line ends; -1 without one, -7 in an empty file.
    int64_t Begin() const {
        if (text_.empty()) return -7;
        for (size_t at = 0; text_.size() - at > kEpsBegin.size(); ++at) {
            // More than a line is left where the search for a sign starts; where it ends, a line will do.
            at = text_.find('%', at);
            if (at == std::string::npos) return -1;
            if (text_.compare(at, kEpsBegin.size(), kEpsBegin) == 0) return static_cast<int64_t>(at + kEpsBegin.size());
        }
        return -1;
    }

    /// What a load of the text comes to.
    LoadOutcome Outcome() {
        const int64_t begin = Begin();
        if (begin == -1) return {ERR_NO_PROFILE, false, ""};
        at_ = begin < 0 ? 0 : static_cast<size_t>(begin);
        int32_t result = at_ == text_.size() ? int32_t{ERR_PROFILE_UNUSABLE} : Lines();
        const bool hasData = !profile_.empty();
        if (result == CLR_SUCCESS && !hasData) result = ERR_NO_PROFILE;
        return {result, hasData, profile_};
    }

private:
    enum class Next { kLines, kTruncated };

    size_t Left() const { return text_.size() - at_; }

    int32_t Lines() {
        while (Left() >= 5) {
            if (text_[at_] != '%') {
                at_ += 1;
            } else if (text_[at_ + 1] == '%') {
                if (Left() < kEpsEnd.size()) return ERR_PROFILE_TRUNCATED;
                if (text_.compare(at_, kEpsEnd.size(), kEpsEnd) == 0) return CLR_SUCCESS;
                at_ += 2;
            } else if (text_[at_ + 1] == ' ') {
                at_ += 2;
                if (Hex() == Next::kTruncated) return ERR_PROFILE_TRUNCATED;
            } else {
                at_ += 2;
            }
        }
        return ERR_PROFILE_TRUNCATED;
    }

    Next Hex() {
        while (Left() >= 4) {
            const std::string here = text_.substr(at_, 3);
            if (IsDigit(here[0])) {
                if (!IsDigit(here[1])) {
                    at_ += 1;
                    return Next::kLines;
                }
                if (staged_.size() == 80) {
                    profile_ += staged_;
                    staged_.clear();
                }
                staged_.push_back(static_cast<char>(std::stoi(here.substr(0, 2), nullptr, 16)));
                at_ += 2;
            } else if (here == "\r\n ") {
                at_ += 3;
            } else if (here.substr(0, 2) == "\r\n") {
                at_ += 2;
                return Next::kLines;
            } else if (here[0] == '\r') {
                at_ += 1;
                return Next::kLines;
            } else {
                return here[0] == '%' ? Next::kLines : Next::kTruncated;
            }
        }
        return Next::kTruncated;
    }

    static bool IsDigit(char c) { return std::string("0123456789abcdefABCDEF").find(c) != std::string::npos; }

    std::string text_;
    size_t at_ = 0;
    std::string staged_;
    std::string profile_;
};

}  // namespace zv::test
