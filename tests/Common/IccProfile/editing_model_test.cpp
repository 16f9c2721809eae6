// Long random sequences of editing against a plain list of tags, and deletions that fail half-way.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "Common/IccProfile/profile.h"
#include "tests/support/icc_profile_support.h"
#include "tests/support/recording_host.h"

namespace zv::test {
namespace {

using Start = IccProfileHolder::Start;

constexpr std::string_view kKnownTags[] = {"cprt", "desc", "wtpt", "calt", "A2B0"};
constexpr std::string_view kUnknownTags[] = {"abcd", "zz00"};

/// A type of arrays: bytes of an element. Bodies that end off the 4-byte grid are padded.
struct ArrayType {
    std::string_view name;
    size_t element;
    size_t word;  ///< whose bytes are swapped
    bool known;
};
constexpr ArrayType kArrayTypes[] = {{"ui08", 1, 1, true}, {"ui16", 2, 2, true},  {"ui32", 4, 4, true},
                                     {"uf32", 4, 4, true}, {"XYZ ", 12, 4, true}, {"zzzz", 1, 1, false}};

/// Words of `width` bytes turned round.
Bytes Swapped(Bytes bytes, size_t width) {
    for (size_t i = 0; i + width <= bytes.size(); i += width) {
        const auto begin = bytes.begin() + static_cast<ptrdiff_t>(i);
        std::reverse(begin, begin + static_cast<ptrdiff_t>(width));
    }
    return bytes;
}

/// What the record, its blocks and its image should be.
struct Model {
    struct Entry {
        uint32_t signature;
        uint32_t offset;
        uint32_t size;
    };

    uint32_t headerSize = 132;
    uint32_t manufacturer = 0;
    uint32_t flags = 0;
    uint32_t intent = 0;
    Bytes profileId = Bytes(16);
    std::vector<Entry> entries;
    Bytes data;  ///< zero where the last tag was deleted: its size still counts
    uint64_t profileSize = 0;
    bool hasImage = false;
    Bytes image;

    uint32_t Front() const { return static_cast<uint32_t>(132 + 12 * entries.size()); }

    /// -1 for none.
    ptrdiff_t Find(uint32_t signature) const {
        const auto found =
            std::find_if(entries.begin(), entries.end(), [=](const Entry& e) { return e.signature == signature; });
        return found == entries.end() ? -1 : found - entries.begin();
    }
    /// An empty body has the place of the one behind it, and is moved too far when that is deleted.
    bool HasBody(ptrdiff_t index) const {
        if (index < 0) return false;
        const Entry& entry = entries[static_cast<size_t>(index)];
        return entry.offset >= Front() && uint64_t{entry.offset} - Front() + entry.size <= data.size();
    }
    /// Empty without one.
    Bytes Body(ptrdiff_t index) const {
        if (!HasBody(index)) return {};
        const Entry& entry = entries[static_cast<size_t>(index)];
        const auto begin = data.begin() + static_cast<ptrdiff_t>(entry.offset - Front());
        return {begin, begin + static_cast<ptrdiff_t>(entry.size)};
    }

    void Insert(uint32_t signature, const Bytes& body) {
        for (Entry& entry : entries) entry.offset += 12;
        const auto size = static_cast<uint32_t>(body.size());
        entries.push_back({signature, 0, size});
        entries.back().offset = static_cast<uint32_t>(Front() + data.size());
        const uint32_t padding = (4 - size % 4) % 4;
        data = data + body + Bytes(padding);
        headerSize += 12 + size + padding;
    }

    void Delete(ptrdiff_t index) {
        const Entry removed = entries[static_cast<size_t>(index)];
        const size_t place = removed.offset - Front();
        entries.erase(entries.begin() + index);
        profileId = Bytes(16);
        if (entries.empty()) {
            data = Bytes(data.size());
            return;
        }
        const auto begin = data.begin() + static_cast<ptrdiff_t>(place);
        data.erase(begin, begin + static_cast<ptrdiff_t>(removed.size));
        headerSize -= 12 + removed.size;
        for (Entry& entry : entries) entry.offset -= entry.offset < removed.offset ? 12 : 12 + removed.size;
    }

    bool Generates() const {
        return headerSize == static_cast<uint32_t>(Front() + data.size()) && (!entries.empty() || data.empty());
    }
    Bytes Image() const {
        Bytes bytes =
            BigLongs({headerSize,   0, 0x04200000, 0, 0,      0,      0,       0,      0, FourCc("acsp"), 0, flags,
                      manufacturer, 0, 0,          0, intent, 0xF6D6, 0x10000, 0xD32D, 0});
        bytes = bytes + profileId + Bytes(28);
        PutBig32(bytes, static_cast<uint32_t>(entries.size()));
        for (const Entry& entry : entries) bytes = bytes + BigLongs({entry.signature, entry.offset, entry.size});
        return bytes + data;
    }
    /// The result of generating, and what it leaves.
    int32_t Generate() {
        profileSize = Front() + data.size();
        if (hasImage) image.resize(profileSize);
        if (!Generates()) return ERR_BAD_PROFILE;
        hasImage = true;
        image = Image();
        return CLR_SUCCESS;
    }
    void InitHeader() {
        headerSize = 132;
        manufacturer = flags = intent = 0;
        profileId = Bytes(16);
    }
};

int32_t WarningOf(bool tagKnown, bool typeKnown) {
    constexpr int32_t kResults[2][2] = {{ERR_UNKNOWN_TAG_AND_TYPE, ERR_UNKNOWN_TAG},
                                        {ERR_UNKNOWN_TAG_TYPE, CLR_SUCCESS}};
    return kResults[tagKnown][typeKnown];
}

/// A profile and its model, edited side by side.
class Editor {
public:
    explicit Editor(uint64_t seed) : random_(seed) {
        EXPECT_EQ(CLR_SUCCESS, Zv_InitICCProfile(&profile_, sizeof profile_));
        EXPECT_EQ(CLR_SUCCESS, Zv_InitICCHeader(&profile_));
    }
    ~Editor() { Zv_FreeICCProfile(&profile_); }
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    void Step() {
        const uint32_t choice = random_.Below(100);
        // Tags come and go in waves, so that tables are empty now and then.
        if (model_.entries.size() > 8) falling_ = true;
        if (model_.entries.empty()) falling_ = false;
        if (choice < 30) {
            falling_ ? Delete(false) : Set();
        } else if (choice < 38) {
            falling_ ? Delete(false) : Insert();
        } else if (choice < 60) {
            Delete(random_.Below(3) == 0);
        } else if (choice < 72) {
            Read();
        } else if (choice < 78) {
            AskType();
        } else if (choice < 88) {
            Generate();
        } else if (choice < 91) {
            SetHeader();
        } else if (choice < 92) {
            EXPECT_EQ(CLR_SUCCESS, Zv_InitICCHeader(&profile_));
            model_.InitHeader();
        } else if (choice < 95) {
            ParseAfresh();
        } else if (choice < 98) {
            Restart();
        } else {
            ParseInPlace();
        }
        Compare();
    }

    size_t Leaked() const { return leaked_; }
    size_t Count(std::string_view what) const { return static_cast<size_t>(counts_.count(std::string(what))); }

private:
    std::string_view RandomTag() {
        const uint32_t index = random_.Below(std::size(kKnownTags) + std::size(kUnknownTags));
        return index < std::size(kKnownTags) ? kKnownTags[index] : kUnknownTags[index - std::size(kKnownTags)];
    }
    Bytes RandomBytes(size_t count) {
        Bytes bytes(count);
        for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random_.Next() >> 24);
        return bytes;
    }
    static bool IsKnown(std::string_view tag) {
        return std::find(std::begin(kKnownTags), std::end(kKnownTags), tag) != std::end(kKnownTags);
    }
    static const ArrayType* TypeOf(const Bytes& body) {
        const auto found = std::find_if(std::begin(kArrayTypes), std::end(kArrayTypes),
                                        [&](const ArrayType& type) { return FourCc(type.name) == GetBig32(body, 0); });
        return found == std::end(kArrayTypes) ? nullptr : found;
    }

    /// Mostly one that is there.
    std::string_view SomeTag() {
        for (int i = 0; i < 4; ++i) {
            const std::string_view tag = RandomTag();
            if (model_.Find(FourCc(tag)) >= 0) return tag;
        }
        return RandomTag();
    }

    /// A tag from a record of the host.
    void Set() {
        const ArrayType& type = kArrayTypes[random_.Below(std::size(kArrayTypes))];
        const std::string_view tag = RandomTag();
        const uint32_t count = random_.Below(type.element == 12 ? 4 : 20);
        Bytes values = RandomBytes(count * type.element);
        // The two fields of the head are not looked at.
        ClrIccTagArray record = {0x12345678, {1, 2, 3, 4}, values.data(), count};
        EXPECT_EQ(WarningOf(IsKnown(tag), type.known),
                  Zv_SetICCTagData(&profile_, &record, FourCc(tag), FourCc(type.name)));
        EXPECT_EQ(0x12345678U, Value(record.typeSig));
        model_.Insert(FourCc(tag), TypedBody(type.name, Swapped(values, type.word)));
        counts_.insert("set");
    }

    /// A tag of bytes, down to none.
    void Insert() {
        const std::string_view tag = RandomTag();
        Bytes body = RandomBytes(random_.Below(12));
        if (body.size() >= 4) SetBig32(body, 0, FourCc(kArrayTypes[random_.Below(std::size(kArrayTypes))].name));
        AddIccTag(&profile_, tag, body);
        model_.Insert(FourCc(tag), body);
    }

    /// What a read of that tag gives.
    int32_t ReadResult(std::string_view tag) const {
        const ptrdiff_t index = model_.Find(FourCc(tag));
        if (index < 0) return ERR_BAD_TAG;
        const Bytes body = model_.Body(index);
        if (body.size() < 4) return ERR_BAD_TAG;
        if (body.size() < 8) return ERR_INVALID_PARAMETER;
        return WarningOf(IsKnown(tag), TypeOf(body)->known);
    }

    void CompareRecord(const ClrIccTagArray& record, const Bytes& body) const {
        const ArrayType& type = *TypeOf(body);
        const size_t count = (body.size() - 8) / type.element;
        EXPECT_EQ(FourCc(type.name), Value(record.typeSig));
        ASSERT_EQ(count, Value(record.count));
        const auto* values = static_cast<const uint8_t*>(record.values);
        EXPECT_EQ(Bytes(body.begin() + 8, body.begin() + static_cast<ptrdiff_t>(8 + count * type.element)),
                  Swapped(Bytes(values, values + count * type.element), type.word));
    }

    void Read() {
        const std::string_view tag = SomeTag();
        IccRecordHolder record;
        const int32_t result = ReadResult(tag);
        EXPECT_EQ(result, record.Read(&profile_, tag));
        if (result != ERR_BAD_TAG && result != ERR_INVALID_PARAMETER) {
            CompareRecord(record->array, model_.Body(model_.Find(FourCc(tag))));
            counts_.insert("read");
        }
    }

    void AskType() {
        const std::string_view tag = SomeTag();
        const Bytes body = model_.Body(model_.Find(FourCc(tag)));
        EXPECT_EQ(body.size() < 4 ? 0 : GetBig32(body, 0), Zv_GetICCTagTypeSig(&profile_, FourCc(tag)));
    }

    void Delete(bool withRecord) {
        const std::string_view tag = SomeTag();
        const ptrdiff_t index = model_.Find(FourCc(tag));
        int32_t expected = withRecord ? ReadResult(tag) : CLR_SUCCESS;
        if (!model_.HasBody(index)) expected = ERR_BAD_TAG;
        if (model_.entries.empty()) expected = ERR_INVALID_PARAMETER;
        const Bytes body = model_.Body(index);
        IccRecordHolder record;
        EXPECT_EQ(expected,
                  withRecord ? record.Delete(&profile_, tag) : Zv_DeleteICCTag(&profile_, FourCc(tag), nullptr))
            << tag;
        if (withRecord && body.size() >= 8 && !model_.entries.empty()) {
            CompareRecord(record->array, body);
        }
        if (expected != CLR_SUCCESS) return;
        model_.Delete(index);
        counts_.insert(model_.entries.empty() ? "last deleted" : "deleted");
    }

    void SetHeader() {
        model_.manufacturer = random_.Next();
        model_.flags = random_.Below(4);
        model_.intent = random_.Below(4);
        model_.profileId = RandomBytes(16);
        EXPECT_EQ(CLR_SUCCESS, Zv_SetICCDevManufacturer(&profile_, model_.manufacturer));
        EXPECT_EQ(CLR_SUCCESS, Zv_SetICCFlags(&profile_, static_cast<uint8_t>(model_.flags)));
        EXPECT_EQ(CLR_SUCCESS, Zv_SetICCRenderingIntent(&profile_, model_.intent));
        std::copy(model_.profileId.begin(), model_.profileId.end(), profile_.header->profileId);
    }

    void Generate() {
        const int32_t expected = model_.Generate();
        EXPECT_EQ(expected, Zv_GenerateICCPointer(&profile_));
        if (expected == CLR_SUCCESS) last_ = model_.image;
        counts_.insert(expected == CLR_SUCCESS ? "generated" : "refused");
    }

    /// The model of a record that has taken in the last image.
    void TakeLastImage() {
        model_.headerSize = GetBig32(last_, 0);
        model_.flags = GetBig32(last_, 44);
        model_.manufacturer = GetBig32(last_, 48);
        model_.intent = GetBig32(last_, 64);
        model_.profileId.assign(last_.begin() + 84, last_.begin() + 100);
        model_.profileSize = last_.size();
        model_.hasImage = true;
        model_.image = last_;
        model_.entries.clear();
        const uint32_t count = GetBig32(last_, 128);
        for (size_t i = 0; i < count; ++i) {
            const size_t at = 132 + 12 * i;
            model_.entries.push_back({GetBig32(last_, at), GetBig32(last_, at + 4), GetBig32(last_, at + 8)});
        }
        if (count != 0) model_.data.assign(last_.begin() + model_.Front(), last_.end());
        counts_.insert("parsed");
    }

    void Restart() {
        Zv_FreeICCProfile(&profile_);
        EXPECT_EQ(CLR_SUCCESS, Zv_InitICCProfile(&profile_, sizeof profile_));
        EXPECT_EQ(CLR_SUCCESS, Zv_InitICCHeader(&profile_));
        model_ = Model();
    }

    void ParseAfresh() {
        if (last_.empty()) return;
        Zv_FreeICCProfile(&profile_);
        EXPECT_EQ(CLR_SUCCESS, Zv_InitICCProfile(&profile_, sizeof profile_));
        EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileStructure(&profile_, last_.data(), last_.size()));
        model_.data.clear();
        TakeLastImage();
    }

    void ParseInPlace() {
        if (last_.empty()) return;
        leaked_ += (model_.entries.empty() ? 0U : 2U) + (model_.hasImage ? 1U : 0U);
        EXPECT_EQ(CLR_SUCCESS, Zv_FillICCProfileStructure(&profile_, last_.data(), last_.size()));
        TakeLastImage();
        // An image without tags leaves the old data's size.
        if (model_.entries.empty()) model_.data = Bytes(model_.data.size());
    }

    void Compare() {
        EXPECT_EQ(56U, Value(profile_.structSize));
        ASSERT_EQ(static_cast<int32_t>(model_.entries.size()), Value(profile_.tagCount));
        EXPECT_EQ(model_.data.size(), Value(profile_.tagDataSize));
        EXPECT_EQ(model_.profileSize, Value(profile_.profileSize));
        const std::vector<ClrIccTagEntry> table = IccTableOf(&profile_);
        ASSERT_EQ(model_.entries.size(), table.size());
        for (size_t i = 0; i < table.size(); ++i) {
            EXPECT_EQ(model_.entries[i].signature, Value(table[i].signature)) << i;
            EXPECT_EQ(model_.entries[i].offset, Value(table[i].offset)) << i;
            EXPECT_EQ(model_.entries[i].size, Value(table[i].size)) << i;
        }
        if (!table.empty()) {
            EXPECT_EQ(model_.data, IccTagDataOf(&profile_));
        }
        EXPECT_EQ(model_.hasImage, profile_.profileData != nullptr);
        EXPECT_EQ(model_.image, IccImageBytesOf(&profile_));
        Bytes header(128);
        IccHeaderToImage(header.data(), profile_.header);
        const Bytes whole = model_.Image();
        EXPECT_EQ(Bytes(whole.begin(), whole.begin() + 128), header);
    }

    TestRandom random_;
    ClrIccProfile profile_;
    Model model_;
    bool falling_ = false;
    Bytes last_;  ///< the image that was generated last
    size_t leaked_ = 0;
    std::multiset<std::string> counts_;
};

TEST(IccEditing, AgreesWithAPlainListOfTags) {
    HostScope host;
    size_t leaked = 0;
    for (uint64_t seed = 1; seed <= 8; ++seed) {
        Editor editor(seed);
        for (int step = 0; step < 3000; ++step) {
            editor.Step();
            if (::testing::Test::HasFailure()) FAIL() << "seed " << seed << ", step " << step;
        }
        // The sequence has come everywhere.
        for (const char* what : {"set", "read", "deleted", "last deleted", "generated", "refused", "parsed"}) {
            EXPECT_LE(20U, editor.Count(what)) << what << " of seed " << seed;
        }
        leaked += editor.Leaked();
    }
    EXPECT_LT(0U, leaked);
    EXPECT_EQ(leaked, host.Leaked()) << "what parses into a filled record drop, and no more";
    host.ExpectLeaked(leaked);
}

TEST(IccEditing, FillOfNewBlocksIsNowhereToBeSeen) {
    // The same sequence with other undefined bytes leaves the same image.
    std::vector<Bytes> images;
    for (const uint8_t fill : {uint8_t{0}, uint8_t{0x5A}, uint8_t{0xFF}}) {
        const HostScope host;
        host->FillBlocksWith(fill);
        IccProfileHolder profile(Start::kHeader);
        Bytes values = CountingBytes(13);
        ClrIccTagArray record = {0, {}, values.data(), 0};
        for (uint32_t i = 0; i < 12; ++i) {
            record.count = i + 1;
            Zv_SetICCTagData(profile, &record, FourCc(kKnownTags[i % 5]), FourCc(i % 2 == 0 ? "ui08" : "zzzz"));
            if (i % 4 == 3) {
                EXPECT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc(kKnownTags[i % 5]), nullptr));
            }
        }
        images.push_back(GenerateIccImage(profile));
    }
    EXPECT_EQ(images[0], images[1]);
    EXPECT_EQ(images[0], images[2]);
}

// --- Deletions ------------------------------------------------------------------------------------------------------

TEST(IccDelete, FirstOfTwoWithoutPadding) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", CountingBytes(20));
    AddIccTag(profile, "desc", CountingBytes(20, 100));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("cprt"), nullptr));
    EXPECT_EQ(144U, IccEntryOf(profile, "desc").offset);
    EXPECT_EQ(164U, Value(profile->header->size));
    EXPECT_EQ(CountingBytes(20, 100), IccTagDataOf(profile));
}

TEST(IccDelete, FirstOfTwoWithPaddingLeavesThePadding) {
    const HostScope host;
    IccProfileHolder profile(Start::kHeader);
    AddIccTag(profile, "cprt", CountingBytes(14));
    AddIccTag(profile, "desc", CountingBytes(20, 100));
    ASSERT_EQ(CLR_SUCCESS, Zv_DeleteICCTag(profile, FourCc("cprt"), nullptr));
    EXPECT_EQ(146U, IccEntryOf(profile, "desc").offset);
    EXPECT_EQ(166U, Value(profile->header->size));
    EXPECT_EQ(Bytes(2) + CountingBytes(20, 100), IccTagDataOf(profile));
    EXPECT_EQ(166U, GenerateIccImage(profile).size());
}

TEST(IccDelete, FailuresLeaveCountAndTableChangedAndTheProfileSafe) {
    const Bytes bodies[] = {TypedBody("ui08", CountingBytes(6)), TypedBody("ui16", CountingBytes(8)),
                            TypedBody("ui32", CountingBytes(12))};
    for (const char* tag : {"cprt", "desc", "calt"}) {
        for (int64_t failing = 1; failing <= 4; ++failing) {
            const HostScope host;
            IccProfileHolder profile(Start::kHeader);
            AddIccTag(profile, "cprt", bodies[0]);
            AddIccTag(profile, "desc", bodies[1]);
            AddIccTag(profile, "calt", bodies[2]);
            // Nothing has to move behind the last one, which has no padding: no scratch block.
            const int64_t allocations = std::string_view(tag) == "calt" ? 2 : 3;
            host->Reset();
            host->FailAllocation(failing);
            const int32_t result = Zv_DeleteICCTag(profile, FourCc(tag), nullptr);
            EXPECT_EQ(failing <= allocations ? ERR_FAILURE : CLR_SUCCESS, result) << tag << failing;
            EXPECT_EQ(std::min(failing, allocations), host->AllocationsSinceReset()) << tag;
            host->FailAllocation(0);
            EXPECT_EQ(2, Value(profile->tagCount));
            ASSERT_EQ(2U, IccTableOf(profile).size());
            EXPECT_EQ(0U, Zv_GetICCTagTypeSig(profile, FourCc(tag)));
            EXPECT_EQ(4U - 1, host.Leaked()) << "header, table and data";
            // Whatever stands there now is safe to go on with.
            for (const char* other : {"cprt", "desc", "calt"}) {
                IccRecordHolder record;
                record.Read(profile, other);
                Zv_GetICCTagTypeSig(profile, FourCc(other));
            }
            Zv_GenerateICCPointer(profile);
            Zv_DeleteICCTag(profile, FourCc("desc"), nullptr);
            Zv_DeleteICCTag(profile, FourCc("calt"), nullptr);
            Zv_DeleteICCTag(profile, FourCc("cprt"), nullptr);
        }
    }
}

}  // namespace
}  // namespace zv::test
