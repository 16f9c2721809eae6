// Zv_ClrDlg where a dialog that no person sees can show more: memory that cannot be reached, and none at all.
#ifndef _WIN32
#    include <sys/mman.h>

#    include "tests/support/frame_fixture.h"
#    include "tests/support/scripted_dialogs.h"

namespace zv::test {
namespace {

constexpr int32_t kTypes[] = {1, 2};

class DialogCalls : public ::testing::Test {
protected:
    DialogCalls() { ScriptedDesktop::Get().Reset(); }
    ~DialogCalls() override { ScriptedDesktop::Get().Reset(); }

    static void EndBy(INT_PTR button) {
        ScriptedDesktop::Get().user = [button](ScriptedWindow& dialog) {
            if (button == IDOK || button == IDCANCEL) {
                dialog.Notify(static_cast<int>(button), BN_CLICKED);
            } else {
                EndDialog(dialog.Handle(), button);
            }
        };
    }
    static int Opened() { return ScriptedDesktop::Get().dialogsOpened; }

    HostScope host_;
    ClrWhitePoint white_ = {1, 2.0, 3.0};
    ClrCmykParams cmyk_ = {4, 5, 6};

    ClrParams Record() {
        ClrParams params = MakeParams(99, 99);
        params.size = 7;
        params.whitePoint = &white_;
        params.cmykParams = &cmyk_;
        return params;
    }
    /// A record in memory where only some of it may be reached. Nothing may be shown or written.
    void ExpectRefused(int32_t type, ClrParams* params) {
        const int before = Opened();
        ClrHandle* receiver = nullptr;
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrDlg(type, nullptr, &receiver, params));
        EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrDlg(type, nullptr, nullptr, params));
        EXPECT_EQ(before, Opened());
        EXPECT_EQ(nullptr, receiver);
        EXPECT_EQ(1U, uint32_t{white_.whiteCode});
        EXPECT_EQ(5, cmyk_.gcrLevel);
    }
    void ExpectFilled(int32_t type, const ClrParams& params) const {
        EXPECT_EQ(1648U, params.size);
        EXPECT_EQ(1U, params.activeMethod);
        EXPECT_EQ(1U, params.methods);
        EXPECT_EQ(50U, uint32_t{white_.whiteCode});
        EXPECT_EQ(type == 1 ? 250 : 5, cmyk_.gcrLevel);
    }
};

TEST_F(DialogCalls, RecordEndsAtAGuard) {
    EndBy(IDOK);
    for (const int32_t type : kTypes) {
        const GuardedBuffer whole(sizeof(ClrParams));
        ClrParams* const params = PlaceAt(whole.Data(), Record());
        ClrHandle* receiver = nullptr;
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrDlg(type, nullptr, &receiver, params));
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(receiver));
        ExpectFilled(type, *params);
        white_ = {1, 2.0, 3.0};
        cmyk_ = {4, 5, 6};
        // The last 8 bytes are behind the guard.
        const GuardedBuffer cut(sizeof(ClrParams) - 8);
        const ClrParams record = Record();
        std::memcpy(cut.Data(), &record, cut.Size());
        const auto before = BytesOf(cut);
        ExpectRefused(type, reinterpret_cast<ClrParams*>(cut.Data()));
        EXPECT_EQ(before, BytesOf(cut));
        // And the first 8 before it.
        const GuardedBuffer late(sizeof(ClrParams), GuardedBuffer::Side::kFront);
        PlaceAt(late.Data(), Record());
        ExpectRefused(type, reinterpret_cast<ClrParams*>(late.Data() - 8));
    }
}

TEST_F(DialogCalls, RecordIsReadOnly) {
    EndBy(IDOK);
    for (const int32_t type : kTypes) {
        GuardedBuffer buffer(sizeof(ClrParams));
        ClrParams* const params = PlaceAt(buffer.Data(), Record());
        buffer.MakeReadOnly();
        ExpectRefused(type, params);
        buffer.MakeUnreadable();
        ExpectRefused(type, params);
    }
}

/// Programs may have memory that they only write.
TEST_F(DialogCalls, RecordCannotBeRead) {
    EndBy(IDOK);
    void* const page = mmap(nullptr, 4096, PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, page);
    for (const int32_t type : kTypes) {
        ASSERT_EQ(0, mprotect(page, 4096, PROT_READ | PROT_WRITE));
        ClrParams* const params = PlaceAt(static_cast<uint8_t*>(page), Record());
        ASSERT_EQ(0, mprotect(page, 4096, PROT_WRITE));
        ExpectRefused(type, params);
    }
    EXPECT_EQ(0, munmap(page, 4096));
}

TEST_F(DialogCalls, WhitePointCannotBeWritten) {
    EndBy(IDOK);
    for (const int32_t type : kTypes) {
        GuardedBuffer buffer(sizeof(ClrWhitePoint));
        ClrParams params = Record();
        for (const size_t late : {size_t{1}, sizeof(ClrWhitePoint)}) {
            params.whitePoint = reinterpret_cast<ClrWhitePoint*>(buffer.Data() + late);
            ExpectRefused(type, &params);
        }
        params.whitePoint = reinterpret_cast<ClrWhitePoint*>(buffer.Data());
        buffer.MakeReadOnly();
        ExpectRefused(type, &params);
        EXPECT_EQ(7U, params.size);
    }
}

TEST_F(DialogCalls, BlackGenerationCannotBeWritten) {
    EndBy(IDOK);
    GuardedBuffer buffer(sizeof(ClrCmykParams));
    ClrParams params = Record();
    params.cmykParams = reinterpret_cast<ClrCmykParams*>(buffer.Data() + 4);
    ExpectRefused(1, &params);
    params.cmykParams = reinterpret_cast<ClrCmykParams*>(buffer.Data());
    buffer.MakeReadOnly();
    ExpectRefused(1, &params);
    // The other dialog has no use for it.
    ClrHandle* receiver = nullptr;
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrDlg(2, nullptr, &receiver, &params));
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(receiver));
    ExpectFilled(2, params);
}

TEST_F(DialogCalls, SmallRecordsLieAnywhere) {
    EndBy(IDOK);
    for (size_t shift = 0; shift < 8; ++shift) {
        uint8_t whiteBytes[8 + sizeof(ClrWhitePoint)] = {};
        uint8_t cmykBytes[8 + sizeof(ClrCmykParams)] = {};
        ClrParams params = Record();
        params.whitePoint = reinterpret_cast<ClrWhitePoint*>(whiteBytes + shift);
        params.cmykParams = reinterpret_cast<ClrCmykParams*>(cmykBytes + shift);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrDlg(1, nullptr, nullptr, &params));
        const ClrCmykParams cmyk = {12, 250, 1};
        const ClrWhitePoint white = {50, 0.0, 0.0};
        EXPECT_EQ(0, std::memcmp(cmykBytes + shift, &cmyk, sizeof cmyk)) << shift;
        EXPECT_EQ(0, std::memcmp(whiteBytes + shift, &white, sizeof white)) << shift;
    }
}

TEST_F(DialogCalls, TypeGoesBeforeTheRecord) {
    EndBy(IDOK);
    GuardedBuffer buffer(sizeof(ClrParams));
    buffer.MakeUnreadable();
    auto* const params = reinterpret_cast<ClrParams*>(buffer.Data());
    EXPECT_EQ(1, Zv_ClrDlg(3, nullptr, nullptr, params));
    EXPECT_EQ(ERR_INVALID_PARAMETER, Zv_ClrDlg(2, nullptr, nullptr, params));
    EXPECT_EQ(0, Opened());
}

/// No user, no dialog: as a system without a display.
TEST_F(DialogCalls, DialogThatCannotBeShownIsCancelled) {
    for (const int32_t type : kTypes) {
        ClrParams params = Record();
        const ClrParams before = params;
        ClrHandle* receiver = nullptr;
        EXPECT_EQ(0, Zv_ClrDlg(type, nullptr, &receiver, &params));
        EXPECT_EQ(0, Zv_ClrDlg(type, nullptr, nullptr, nullptr));
        EXPECT_EQ(0, std::memcmp(&before, &params, sizeof params));
        EXPECT_EQ(nullptr, receiver);
        EXPECT_EQ(1U, uint32_t{white_.whiteCode});
        EXPECT_EQ(5, cmyk_.gcrLevel);
    }
}

TEST_F(DialogCalls, OnlyOkIsOk) {
    for (const INT_PTR button : {2, 0, -1, 3, 257, 0x10001}) {
        EndBy(button);
        for (const int32_t type : kTypes) {
            ClrParams params = Record();
            ClrHandle* receiver = nullptr;
            EXPECT_EQ(0, Zv_ClrDlg(type, nullptr, &receiver, &params)) << button;
            EXPECT_EQ(nullptr, receiver);
            EXPECT_EQ(7U, params.size);
        }
    }
    EXPECT_EQ(0, host_->AllocationsSinceReset());
}

TEST_F(DialogCalls, EachTypeHasItsDialogBelowTheCallersWindow) {
    for (const int32_t type : kTypes) {
        int parent = 0;
        bool seen = false;
        ScriptedDesktop::Get().user = [&](ScriptedWindow& dialog) {
            seen = true;
            EXPECT_EQ(type == 1 ? 114 : 128, dialog.shape->id);
            EXPECT_EQ(reinterpret_cast<HWND>(&parent), dialog.parent);
            dialog.Notify(IDCANCEL, BN_CLICKED);
        };
        EXPECT_EQ(0, Zv_ClrDlg(type, &parent, nullptr, nullptr));
        EXPECT_TRUE(seen);
    }
    EXPECT_TRUE(ScriptedDesktop::Get().missingControls.empty());
}

TEST_F(DialogCalls, MemoryEndsAfterOk) {
    EndBy(IDOK);
    for (const int32_t type : kTypes) {
        int64_t n = 1;
        for (; n <= 20; ++n) {
            white_ = {1, 2.0, 3.0};
            cmyk_ = {4, 5, 6};
            ClrParams params = Record();
            host_->Reset();
            host_->FailAllocation(n);
            ClrHandle* receiver = nullptr;
            const int32_t result = Zv_ClrDlg(type, nullptr, &receiver, &params);
            ExpectFilled(type, params);
            if (result == CLR_SUCCESS) {
                host_->FailAllocation(0);
                EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(receiver));
                break;
            }
            EXPECT_EQ(ERR_NO_MEMORY, result) << n;
            EXPECT_EQ(nullptr, receiver);
            EXPECT_EQ(0U, host_.Leaked()) << n;
        }
        // Converter, node and white point, and the record of the CMYK pixels.
        EXPECT_EQ(type == 1 ? 5 : 4, n);
    }
}

/// The records that were there before the dialog take the choices, whatever runs while it is open.
TEST_F(DialogCalls, PointersThatChangeMeanwhileAreNotFollowed) {
    for (const int32_t type : kTypes) {
        white_ = {1, 2.0, 3.0};
        cmyk_ = {4, 5, 6};
        ClrParams params = Record();
        ScriptedDesktop::Get().user = [&params](ScriptedWindow& dialog) {
            params.whitePoint = nullptr;
            params.cmykParams = nullptr;
            dialog.Notify(IDOK, BN_CLICKED);
        };
        ClrHandle* handle = nullptr;
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrDlg(type, nullptr, &handle, &params));
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
        ExpectFilled(type, params);
        EXPECT_EQ(nullptr, params.whitePoint);
        EXPECT_EQ(nullptr, params.cmykParams);
    }
}

/// A combo without a selection changes nothing, and what dialogs start from is handed back.
TEST_F(DialogCalls, NoMethodIsTheFirstAmongAll) {
    ScriptedDesktop::Get().user = [](ScriptedWindow& dialog) {
        dialog.Find(116)->selected = -1;
        dialog.Find(123)->selected = -1;
        dialog.Notify(IDOK, BN_CLICKED);
    };
    ClrParams params = Record();
    EXPECT_EQ(CLR_SUCCESS, Zv_ClrDlg(1, nullptr, nullptr, &params));
    EXPECT_EQ(1U, params.activeMethod);
    EXPECT_EQ(63U, params.methods);
    EXPECT_EQ(50U, uint32_t{white_.whiteCode});
}

TEST_F(DialogCalls, ConverterHasTheChoices) {
    ScriptedDesktop::Get().user = [](ScriptedWindow& dialog) {
        dialog.Find(1001)->checked = true;
        dialog.Notify(1001, BN_CLICKED);
        dialog.Find(116)->selected = 1;
        dialog.Find(123)->selected = 4;
        dialog.Notify(IDOK, BN_CLICKED);
    };
    for (const int32_t type : kTypes) {
        ClrHandle* handle = nullptr;
        ASSERT_EQ(CLR_SUCCESS, Zv_ClrDlg(type, nullptr, &handle, nullptr));
        EXPECT_EQ(12, handle->sourceSpace);
        EXPECT_EQ(type == 1 ? 2 : 7, handle->destinationSpace);
        EXPECT_EQ(2U, handle->activeMethod);
        EXPECT_EQ(2U, handle->methods);
        EXPECT_EQ(75U, uint32_t{handle->whitePoint->whiteCode});
        EXPECT_EQ(0.0, double{handle->whitePoint->x});
        EXPECT_NE(nullptr, handle->iccTransform);
        EXPECT_EQ(type == 1, handle->cmykParams != nullptr);
        if (type == 1) {
            EXPECT_EQ(250, handle->cmykParams->gcrLevel);
        }
        EXPECT_EQ(nullptr, handle->labEncode);
        EXPECT_EQ(CLR_SUCCESS, Zv_ClrFree(handle));
    }
}

}  // namespace
}  // namespace zv::test
#endif
