// Files of emulation tables: what the reader takes from them, and what it makes of damaged ones.
#include "Common/kernels/kernels.h"
#include "tests/Common/zvclr/icc_fixture.h"
#include "tests/support/table_file.h"

namespace zv::test {
namespace {

/// Every table's block holds the largest grid.
constexpr size_t kBlock = 250563;

class EmulationFiles : public ::testing::Test {
protected:
    HostScope host_;
    TemporaryFolder folder_;

    struct Outcome {
        int32_t result = 0;
        Bytes table;  ///< empty without a block

        /// A block of these bytes and zeros behind them.
        void ExpectTable(const Bytes& front) const {
            EXPECT_EQ(CLR_SUCCESS, result);
            Bytes whole = front;
            whole.resize(kBlock);
            EXPECT_TRUE(whole == table) << table.size() << " bytes";
        }
        void ExpectRefused() const {
            EXPECT_LT(CLR_SUCCESS, result) << "an error number of the system";
            EXPECT_TRUE(table.empty());
        }
    };

    /// Reads the named file as it is.
    Outcome ReadNamed(const Wide& name) {
        host_->Reset();
        EmulationTable* table = nullptr;
        Outcome outcome;
        outcome.result = ClrReadEmulationFile(name.c_str(), &table);
        EXPECT_GE(kBlock, host_->LargestRequestSinceReset());
        EXPECT_EQ(table == nullptr ? 0U : 1U, host_.Leaked());
        if (table != nullptr) {
            for (const LiveBlock& block : host_->LiveBlocks()) {
                if (block.address == table) outcome.table.assign(table, table + block.size);
            }
            HostFree(table, __LINE__, ZV_WIDE("test"));
        }
        return outcome;
    }
    Outcome Read(const Bytes& bytes) {
        // A new file each time: some file systems wait for the disk when an old one is written over.
        const std::string name = std::to_string(++files_) + ".tif";
        const Outcome outcome = ReadNamed(folder_.Write(name, bytes));
        EXPECT_TRUE(std::filesystem::remove(folder_.Path() / name)) << "the reader has closed it";
        return outcome;
    }
    Outcome Read(const TableFile& file) { return Read(file.Build()); }

private:
    int files_ = 0;
};

Bytes Ramp(size_t count) {
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<uint8_t>(1 + i % 251);
    return bytes;
}

Bytes FrontOf(const Bytes& bytes, size_t count) {
    return {bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(std::min(count, bytes.size()))};
}

// --- Good files -----------------------------------------------------------------------------------------------------

TEST_F(EmulationFiles, WholeRasters) {
    const Bytes cmyk = RandomBytes(289 * 289 * 3, 1), lab = RandomBytes(190 * 190 * 3, 2);
    Read(TableFile::Of(289, 289, 3, cmyk)).ExpectTable(cmyk);
    Read(TableFile::Of(190, 190, 3, lab)).ExpectTable(lab);
}

TEST_F(EmulationFiles, WidthLengthAndSamplesAreMultiplied) {
    const Bytes data = Ramp(1000);
    for (const auto& [width, length, samples] :
         {std::array<uint32_t, 3>{5, 7, 3}, {1, 1, 1}, {100, 10, 1}, {2, 2, 4}}) {
        Read(TableFile::Of(width, length, samples, data)).ExpectTable(FrontOf(data, width * length * samples));
    }
    for (const auto& [width, length, samples] : {std::array<uint32_t, 3>{0, 7, 3}, {5, 0, 3}, {5, 7, 0}, {0, 0, 0}}) {
        Read(TableFile::Of(width, length, samples, data)).ExpectTable({});
    }
}

TEST_F(EmulationFiles, NoMoreIsReadThanTheLargestGrid) {
    const Bytes data = Ramp(300000);
    const Bytes front = FrontOf(data, kBlock);
    Read(TableFile::Of(400, 250, 3, data)).ExpectTable(front);
    Read(TableFile::Of(250563, 1, 1, data)).ExpectTable(front);
    Read(TableFile::Of(250562, 1, 1, data)).ExpectTable(FrontOf(data, 250562));
    Read(TableFile::Of(250564, 1, 1, data)).ExpectTable(front);
}

TEST_F(EmulationFiles, TagsInAnyOrder) {
    const Bytes data = Ramp(60);
    TableFile file = TableFile::Of(5, 4, 3, data);
    file.entries = {{kTagSamples, 3}, {kTagPosition, 0}, {kTagLength, 4}, {kTagWidth, 5}, {kTagPhotometric, 2}};
    std::sort(file.entries.begin(), file.entries.end(), [](const auto& a, const auto& b) { return a.tag < b.tag; });
    file.PlaceDataBehindDirectory();
    int orders = 0;
    const auto byTag = [](const TableEntry& a, const TableEntry& b) { return a.tag < b.tag; };
    do {
        Read(file).ExpectTable(data);
        ++orders;
    } while (std::next_permutation(file.entries.begin(), file.entries.end(), byTag));
    EXPECT_EQ(120, orders);
}

TEST_F(EmulationFiles, OtherTagsAreSkipped) {
    const Bytes data = Ramp(60);
    TableFile file = TableFile::Of(5, 4, 3, data);
    const std::vector<TableEntry> own = file.entries;
    file.entries.clear();
    uint16_t other = 0;
    for (const TableEntry& entry : own) {
        for (const uint16_t tag :
             {other, uint16_t{254}, uint16_t{255}, uint16_t{272}, uint16_t{276}, uint16_t{34675}}) {
            file.entries.push_back({tag, 0xFFFFFFFF, 7, 0xFFFFFFFF});
        }
        file.entries.push_back(entry);
        other = static_cast<uint16_t>(other + 13);
    }
    file.entries.push_back({65535, 77});
    file.PlaceDataBehindDirectory();
    Read(file).ExpectTable(data);
}

TEST_F(EmulationFiles, TypesAndCountsAreNotUsed) {
    const Bytes data = Ramp(60);
    for (const uint16_t type :
         {uint16_t{0}, uint16_t{1}, uint16_t{kTiffShort}, uint16_t{kTiffLong}, uint16_t{12}, uint16_t{0xFFFF}}) {
        for (const uint32_t count : {0U, 1U, 2U, 0xFFFFFFFFU}) {
            TableFile file = TableFile::Of(5, 4, 3, data);
            for (TableEntry& entry : file.entries) {
                entry.type = type;
                entry.count = count;
            }
            Read(file).ExpectTable(data);
        }
    }
}

TEST_F(EmulationFiles, ShortValuesAreTakenWith32Bits) {
    const Bytes data = Ramp(60);
    TableFile file = TableFile::Of(5, 4, 3, data);
    // The upper half of a short's field belongs to the value too: 3 + 65536 samples are more than the data has.
    *file.Find(kTagSamples) = {kTagSamples, 0x10003, kTiffShort};
    Read(file).ExpectTable(data);
    *file.Find(kTagWidth) = {kTagWidth, 0x10000, kTiffShort};
    *file.Find(kTagLength) = {kTagLength, 1, kTiffShort};
    *file.Find(kTagSamples) = {kTagSamples, 1, kTiffShort};
    Read(file).ExpectTable(data);
}

TEST_F(EmulationFiles, LastOfATagWins) {
    const Bytes data = Ramp(60);
    TableFile file = TableFile::Of(5, 4, 3, data);
    const uint32_t position = file.position + 5 * 12;
    file.entries.insert(file.entries.begin(), {kTagPosition, 3});
    for (const TableEntry& entry : {TableEntry{kTagWidth, 2}, {kTagLength, 3}, {kTagSamples, 1}}) {
        file.entries.push_back(entry);
    }
    file.entries.push_back({kTagPosition, position});
    file.position = position;
    Read(file).ExpectTable(FrontOf(data, 6));
}

TEST_F(EmulationFiles, MissingTagsCountAsZero) {
    const Bytes data = Ramp(60);
    for (const uint16_t tag : {uint16_t{kTagWidth}, uint16_t{kTagLength}, uint16_t{kTagSamples}}) {
        TableFile file = TableFile::Of(5, 4, 3, data);
        file.Remove(tag);
        Read(file).ExpectTable({});
    }
    TableFile file = TableFile::Of(5, 4, 3, data);
    file.Remove(kTagPhotometric);
    Read(file).ExpectTable(data);
    file.Remove(kTagPosition);
    Read(file).ExpectTable(FrontOf(file.Build(), 60));
    file.entries.clear();
    Read(file).ExpectTable({});
}

TEST_F(EmulationFiles, DirectoryAnywhere) {
    const Bytes data = Ramp(60);
    TableFile file = TableFile::Of(5, 4, 3, data);
    file.position = 8;
    file.Find(kTagPosition)->value = 8;
    for (const uint32_t directory : {68U, 69U, 1001U, 70000U}) {
        file.directory = directory;
        Read(file).ExpectTable(data);
    }
}

TEST_F(EmulationFiles, MarkAndVersionAreNotLookedAt) {
    const Bytes data = Ramp(60);
    TableFile file = TableFile::Of(5, 4, 3, data);
    for (const Bytes& mark :
         {Bytes{'M', 'M', 0, 42}, Bytes{0, 0, 0, 0}, Bytes{'I', 'I', 43, 0}, Bytes{'z', 'v', 255, 1}}) {
        file.mark = mark;
        Read(file).ExpectTable(data);
    }
}

TEST_F(EmulationFiles, BigEndianFilesAreReadAsTheyAre) {
    // The offset 8 of a big-endian file says 0x08000000, far behind its end.
    Bytes bytes = TableFile::Of(5, 4, 3, Ramp(60)).Build();
    std::reverse(bytes.begin() + 4, bytes.begin() + 8);
    Read(bytes).ExpectRefused();
    // With the offset in reach, entries and tags are taken from the low byte: 0x0900 of them, none known.
    bytes = Bytes(8 + 2 + 12 * 0x0900 + 4);
    TableFile::Put(bytes, 4, 8, 4);
    bytes[9] = 9;
    bytes[10] = 1;  // tag 256, high byte first
    bytes[21] = 5;
    Read(bytes).ExpectTable({});
}

// --- What the file does not have ------------------------------------------------------------------------------------

TEST_F(EmulationFiles, DataThatEndEarlyLeaveZeros) {
    const Bytes data = Ramp(60);
    for (const size_t there : {size_t{59}, size_t{30}, size_t{1}, size_t{0}}) {
        TableFile file = TableFile::Of(5, 4, 3, FrontOf(data, there));
        Read(file).ExpectTable(file.data);
    }
    Read(TableFile::Of(289, 289, 3, data)).ExpectTable(data);
}

TEST_F(EmulationFiles, PositionsBehindTheEnd) {
    TableFile file = TableFile::Of(5, 4, 3, Ramp(60));
    for (const uint32_t position : {1000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        file.Find(kTagPosition)->value = position;
        Read(file).ExpectTable({});
    }
}

TEST_F(EmulationFiles, SizesBeyond32And64Bits) {
    const Bytes data = Ramp(60);
    const std::array<uint32_t, 3> sizes[] = {
        {0x10000, 0x10000, 1},                 // 2^32
        {0x10000, 0x10001, 1},                 // 65,536 in 32 bits
        {0x80000000, 2, 3},                    // 0 in 32 bits
        {0x80000000, 0x80000000, 4},           // 0 in 64 bits
        {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF},  // far more
        {0xFFFFFFFF, 1, 1},                    // -1
        {1, 1, 0xFFFFFFFF},
        {0x80000000, 1, 1},
        {0x40000000, 0x40000000, 0x10},
    };
    for (const auto& [width, length, samples] : sizes) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(length) + " x " + std::to_string(samples));
        Read(TableFile::Of(width, length, samples, data)).ExpectTable(data);
    }
    Read(TableFile::Of(0xFFFFFFFF, 0xFFFFFFFF, 0, data)).ExpectTable({});
    Read(TableFile::Of(0xFFFFFFFF, 0, 0xFFFFFFFF, data)).ExpectTable({});
}

/// 2 x 2 nodes, and no more entries than the reader knows but for the last.
TableFile SmallFile() {
    TableFile file = TableFile::Of(2, 2, 3, Ramp(12));
    for (const uint16_t tag : {kTagBits, kTagCompression, kTagRowsPerStrip}) file.Remove(tag);
    file.PlaceDataBehindDirectory();
    return file;
}

TEST_F(EmulationFiles, CutAtEveryByte) {
    const Bytes data = Ramp(12);
    const TableFile file = SmallFile();
    const Bytes whole = file.Build();
    const size_t directoryEnd = file.DirectoryEnd() - 4;
    for (size_t size = 0; size <= whole.size(); ++size) {
        SCOPED_TRACE(size);
        const Outcome outcome = Read(FrontOf(whole, size));
        // Of an entry that plays no part only the tag is read: the last of this directory is such.
        if (size < directoryEnd - 10) {
            outcome.ExpectRefused();
        } else {
            outcome.ExpectTable(size <= file.position ? Bytes() : FrontOf(data, size - file.position));
        }
    }
}

/// What the next open file gets: another number than before when a file was left open.
HANDLE NextHandle(const Wide& name) {
    const HANDLE handle = CreateFileW(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, handle);
    CloseHandle(handle);
    return handle;
}

TEST_F(EmulationFiles, AreClosedWhateverIsWrongWithThem) {
    const Bytes whole = TableFile::Of(2, 2, 3, Ramp(12)).Build();
    const Wide good = folder_.Write("good.tif", whole);
    const HANDLE next = NextHandle(good);
    for (const size_t size : {size_t{0}, size_t{8}, size_t{20}, size_t{30}}) {
        const Wide name = folder_.Write("table.tif", FrontOf(whole, size));
        EmulationTable* table = nullptr;
        EXPECT_EQ(static_cast<int32_t>(ERROR_HANDLE_EOF), ClrReadEmulationFile(name.c_str(), &table));
        EXPECT_EQ(next, NextHandle(good)) << size;
    }
    EmulationTable* table = nullptr;
    host_->FailAllocation(1);
    EXPECT_LT(CLR_SUCCESS, ClrReadEmulationFile(good.c_str(), &table));
    host_->FailAllocation(0);
    EXPECT_EQ(next, NextHandle(good)) << "no memory";
    ReadNamed(good).ExpectTable(Ramp(12));
    EXPECT_EQ(next, NextHandle(good)) << "a good file";
}

TEST_F(EmulationFiles, AreOpenedForReadingOnceAndClosedOnce) {
    const auto closings = [&] {
        const auto calls = host_->Calls();
        return std::count_if(calls.begin(), calls.end(),
                             [](const HostCall& call) { return call.operation == "HostCloseFile"; });
    };
    const Bytes whole = TableFile::Of(2, 2, 3, Ramp(12)).Build();
    for (const size_t size : {whole.size(), size_t{30}, size_t{8}, size_t{0}}) {
        const Wide name = folder_.Write("table.tif", FrontOf(whole, size));
        ReadNamed(name);
        const auto request = host_->LastFileRequest();
        ASSERT_TRUE(request.has_value());
        EXPECT_EQ(std::u16string(name.begin(), name.end()), request->name);
        EXPECT_EQ(0x80000000U, request->access);
        EXPECT_EQ(4U, request->share);
        EXPECT_EQ(nullptr, request->security);
        EXPECT_EQ(3U, request->disposition);
        EXPECT_EQ(128U, request->attributes);
        EXPECT_EQ(nullptr, request->templateFile);
        EXPECT_EQ(1, host_->FileAccessesSinceReset());
        EXPECT_EQ(1, closings()) << size;
    }
    ReadNamed(WideOf(folder_.Path() / "none.tif")).ExpectRefused();
    EXPECT_EQ(0, closings()) << "nothing was open";
}

TEST_F(EmulationFiles, NoErrorOfTheSystemLooksLikeSuccess) {
    const Wide name = folder_.Write("table.tif", TableFile::Of(2, 2, 3, Ramp(12)).Build());
    for (const DWORD error : {DWORD{0}, DWORD{1}, DWORD{2}, DWORD{0xFFFFFFFF}}) {
        EmulationTable* table = nullptr;
        host_->FailFileAccess(1);
        SetLastError(error);
        EXPECT_LT(CLR_SUCCESS, ClrReadEmulationFile(name.c_str(), &table)) << error;
        EXPECT_EQ(nullptr, table);
    }
    host_->FailFileAccess(0);
}

TEST_F(EmulationFiles, FlippedBytesNeverCostMoreThanTheTable) {
    const Bytes whole = SmallFile().Build();
    int read = 0, refused = 0;
    for (size_t at = 0; at < whole.size(); ++at) {
        for (const uint8_t flip : {uint8_t{1}, uint8_t{0x80}, uint8_t{0xFF}}) {
            Bytes bytes = whole;
            bytes[at] = static_cast<uint8_t>(bytes[at] ^ flip);
            const Outcome outcome = Read(bytes);
            if (outcome.result == CLR_SUCCESS) {
                EXPECT_EQ(kBlock, outcome.table.size()) << at;
                ++read;
            } else {
                outcome.ExpectRefused();
                ++refused;
            }
        }
    }
    EXPECT_LT(0, refused) << "offsets and counts that lead behind the end";
    EXPECT_LT(refused, read) << "most bytes say nothing that is checked";
}

TEST_F(EmulationFiles, AsManyEntriesAsCanBe) {
    TableFile file;
    file.entries.assign(65535, {1, 2});
    file.entries[65534] = {kTagPosition, 0};
    file.entries[65533] = {kTagWidth, 20};
    file.entries[40000] = {kTagLength, 1};
    file.entries[0] = {kTagSamples, 3};
    file.data = Ramp(60);
    file.PlaceDataBehindDirectory();
    Read(file).ExpectTable(file.data);
    // The same count over a file that ends.
    Bytes bytes = file.Build();
    bytes.resize(bytes.size() / 2);
    Read(bytes).ExpectRefused();
}

#ifdef __linux__
// Elsewhere such a file takes its space.
TEST_F(EmulationFiles, DirectoryAcrossFourGibibytes) {
    const Bytes data = Ramp(60);
    TableFile file = TableFile::Of(5, 4, 3, data);
    file.position = 8;
    file.Find(kTagPosition)->value = 8;
    file.directory = 68;
    const Bytes close = file.Build();
    // The number of entries stands as far away as can be said, and the entries behind 4 GiB.
    Bytes front = FrontOf(close, 68);
    TableFile::Put(front, 4, 0xFFFFFFFE, 4);
    const Wide name = folder_.Write("far.tif", front);
    std::fstream stream(folder_.Path() / "far.tif", std::ios::binary | std::ios::in | std::ios::out);
    stream.seekp(std::streamoff{0xFFFFFFFE});
    stream.write(reinterpret_cast<const char*>(close.data()) + 68, static_cast<std::streamsize>(close.size() - 68));
    stream.close();
    ASSERT_TRUE(stream.good());
    ReadNamed(name).ExpectTable(data);
}
#endif

TEST_F(EmulationFiles, EntriesThatAreAllTheSame) {
    for (const uint16_t tag : {uint16_t{kTagWidth}, uint16_t{kTagPosition}, uint16_t{kTagPhotometric}, uint16_t{1}}) {
        TableFile file;
        file.entries.assign(300, {tag, 9});
        Read(file).ExpectTable({});
    }
}

TEST_F(EmulationFiles, DirectoryOverItsOwnHeader) {
    // Offset 0: the mark is the number of entries. Offset 4: the offset is.
    TableFile file;
    file.directory = 0;
    Bytes bytes(8);
    Read(bytes).ExpectTable({});
    bytes[0] = 1;
    Read(bytes).ExpectTable({});  // tag 0 stands at byte 2
    bytes[4] = 4;
    Read(bytes).ExpectRefused();  // four entries, and no bytes for them
}

TEST_F(EmulationFiles, NeitherEmptyNorShortFilesAreTables) {
    Read(Bytes()).ExpectRefused();
    Read(Bytes{'I', 'I', 42, 0}).ExpectRefused();
    Read(Bytes{'I', 'I', 42, 0, 8, 0, 0, 0}).ExpectRefused();
    Read(Bytes{'I', 'I', 42, 0, 0xFF, 0xFF, 0xFF, 0xFF}).ExpectRefused();
    Read(Bytes{'I', 'I', 42, 0, 0xFC, 0xFF, 0xFF, 0x7F, 1, 0}).ExpectRefused();
}

TEST_F(EmulationFiles, MissingFilesAndFolders) {
    const Outcome missing = ReadNamed(WideOf(folder_.Path() / "none.tif"));
    missing.ExpectRefused();
    EXPECT_EQ(static_cast<int32_t>(ERROR_FILE_NOT_FOUND), missing.result);
    ReadNamed(WideOf(folder_.Path())).ExpectRefused();
    ReadNamed(Wide()).ExpectRefused();
}

TEST_F(EmulationFiles, WithoutMemoryThePointerIsNull) {
    const Wide name = folder_.Write("table.tif", TableFile::Of(5, 4, 3, Ramp(60)).Build());
    host_->FailAllocation(1);
    uint8_t mark = 0;
    EmulationTable* table = &mark;
    EXPECT_LT(CLR_SUCCESS, ClrReadEmulationFile(name.c_str(), &table));
    EXPECT_EQ(nullptr, table);
    host_->FailAllocation(0);
}

TEST_F(EmulationFiles, RefusedFilesLeaveThePointer) {
    uint8_t mark = 0;
    EmulationTable* table = &mark;
    EXPECT_LT(CLR_SUCCESS, ClrReadEmulationFile(folder_.Write("table.tif", Bytes(7)).c_str(), &table));
    EXPECT_EQ(&mark, table) << "the block is made after the directory was read";
}

}  // namespace
}  // namespace zv::test
