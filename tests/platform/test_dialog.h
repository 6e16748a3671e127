// A dialog with a control of every kind that notes what it is told, and an operator who works it.
#pragma once

#include "platform/boxes.h"
#include "platform/dialog.h"
#include "platform/paint.h"
#include "support/window_operator.h"

#include <algorithm>
#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

enum TestId
{
    Center = 99,
    Go,
    Flag,
    First,
    Second,
    Whole,
    Real,
    Picture,
    Across,
    Down
};

inline constexpr int IDABORT = 3; // how the dialog answers the wish for its end

inline constexpr ControlTemplate TestControls[] = {
    {IDOK, ControlKind::DefaultButton, "E&xit", {4, 4, 40, 14}},
    {Go, ControlKind::PushButton, "&Go", {50, 4, 40, 14}},
    {Flag, ControlKind::CheckBox, "&Flag", {100, 4, 40, 10}},
    {First, ControlKind::RadioButton, "F&irst", {4, 24, 40, 10}, GroupStart},
    {Second, ControlKind::RadioButton, "S&econd", {50, 24, 40, 10}},
    {Center, ControlKind::Label, "Scale &center:", {4, 44, 50, 8}},
    {Whole, ControlKind::Edit, "", {60, 42, 40, 12}},
    {0, ControlKind::Label, "Ga&mma:", {104, 44, 40, 8}},
    {Real, ControlKind::Edit, "", {150, 42, 40, 12}},
    {Picture, ControlKind::Frame, "", {4, 60, 100, 60}, FrameTakesInput, "Picture"},
    {Across, ControlKind::HorizontalScrollBar, "", {4, 122, 100, 10}, 0, "Left and right"},
    {Down, ControlKind::VerticalScrollBar, "", {106, 60, 10, 60}, 0, "Up and down"},
};
inline constexpr DialogTemplate TestTemplate{1, "Test",       210, 140, "MS Sans Serif",
                                             8, TestControls, true};

class TestDialog : public CDialog
{
public:
    using Seen = std::pair<UINT, WPARAM>;
    using Input = std::array<int, 4>; // the message, x, y, flags or turn; a key stands for x

    explicit TestDialog(CWnd* parent = nullptr) : CDialog(TestTemplate, parent) {}

    std::uint32_t m_whole = 3700;
    double m_real = 0.5;
    CScrollBar m_across;
    std::vector<Seen> m_seen;   // what came, in order
    std::vector<int> m_clicked; // ids of check boxes and radio buttons, in order
    std::function<void()> m_go = [] {}, m_message = [] {}, m_paint = [] {}, m_drop = [] {};
    std::vector<Input> m_input; // of the picture

    bool HasSeen(const Seen& message) const { return std::ranges::count(m_seen, message) > 0; }

private:
    void DoDataExchange(CDataExchange* dx) override
    {
        DDX_Control(dx, Across, m_across);
        DDX_Text(dx, Whole, m_whole);
        DDX_Text(dx, Real, m_real);
    }
    void OnGo() { m_go(); }
    template <int Id>
    void OnClicked()
    {
        m_clicked.push_back(Id);
    }
    void OnLeave() { UpdateData(TRUE); }
    void OnPaint() { m_paint(); }
    void OnTimer(UINT_PTR timer) { m_seen.emplace_back(WM_TIMER, timer); }
    void OnScroll(UINT code, std::uint32_t position)
    {
        m_seen.emplace_back(code, position);
        if (code == SB_LINEDOWN) {
            m_across.SetScrollPos(m_across.GetScrollPos() + 1);
        }
    }
    LRESULT OnMessage(WPARAM wParam, LPARAM)
    {
        m_seen.emplace_back(WM_USER, wParam);
        m_message();
        return 7;
    }
    LRESULT OnDropped(WPARAM, LPARAM)
    {
        m_drop();
        return 0;
    }
    template <UINT Message>
    void OnMouse(UINT flags, POINT point)
    {
        m_input.push_back({Message, point.x, point.y, static_cast<int>(flags)});
        if (Message == WM_RBUTTONDOWN) {
            OnGo();
        }
    }
    void OnWheel(UINT, int turn, POINT point)
    {
        CWnd(GetDlgItem(Picture)).ScreenToClient(&point);
        m_input.push_back({WM_MOUSEWHEEL, point.x, point.y, turn});
    }
    template <UINT Message>
    void OnKey(UINT key)
    {
        m_input.push_back({Message, static_cast<int>(key)});
    }
    LRESULT OnEndSession(WPARAM, LPARAM)
    {
        EndDialog(IDABORT);
        return TRUE;
    }
    std::span<const DispatchEntry> DispatchTable() const override
    {
        using Self = TestDialog;
        static constexpr DispatchEntry Table[] = {
            on::Command<&Self::OnGo>(Go),
            on::Command<&Self::OnClicked<Flag>>(Flag),
            on::Command<&Self::OnClicked<First>>(First),
            on::Command<&Self::OnClicked<Second>>(Second),
            on::LeaveField<&Self::OnLeave>(Whole),
            on::Paint<&Self::OnPaint>(),
            on::Timer<&Self::OnTimer>(),
            on::HorizontalScroll<&Self::OnScroll>(),
            on::VerticalScroll<&Self::OnScroll>(),
            on::Message<&Self::OnMessage>(WM_USER),
            on::Message<&Self::OnDropped>(WM_DROPFILES),
            on::Message<&Self::OnEndSession>(WM_QUERYENDSESSION),
            on::Mouse<&Self::OnMouse<WM_LBUTTONDOWN>>(WM_LBUTTONDOWN),
            on::Mouse<&Self::OnMouse<WM_LBUTTONUP>>(WM_LBUTTONUP),
            on::Mouse<&Self::OnMouse<WM_LBUTTONDBLCLK>>(WM_LBUTTONDBLCLK),
            on::Mouse<&Self::OnMouse<WM_RBUTTONDOWN>>(WM_RBUTTONDOWN),
            on::Mouse<&Self::OnMouse<WM_MOUSEMOVE>>(WM_MOUSEMOVE),
            on::Mouse<&Self::OnMouse<WM_CAPTURECHANGED>>(WM_CAPTURECHANGED),
            on::MouseWheel<&Self::OnWheel>(),
            on::Key<&Self::OnKey<WM_KEYDOWN>>(WM_KEYDOWN),
            on::Key<&Self::OnKey<WM_CHAR>>(WM_CHAR),
        };
        return Table;
    }
};

class Dialog : public testing::Test
{
protected:
    int Run(const std::function<void()>& script) { return hand.Run(dialog, script); }
    int ShowBox(const std::string& text, UINT style, const std::string& caption = "")
    {
        return MessageBoxA(dialog.GetSafeHwnd(), text.c_str(), caption.c_str(), style);
    }
    bool WaitForTitle(const std::string& title, int milliseconds)
    {
        return hand.Wait([&] { return hand.ActiveTitle() == title; }, milliseconds);
    }
    // That the newer box stands a title bar's height lower and to the right, once a window manager
    // has placed it.
    void ExpectBelow(const std::string& older, const std::string& newer)
    {
        std::pair<int, int> place, newerPlace;
        const auto isBelow = [&] {
            place = hand.PlaceOfBox(older);
            newerPlace = hand.PlaceOfBox(newer);
            const int right = newerPlace.first - place.first;
            return right >= 15 && newerPlace.second - place.second == right;
        };
        EXPECT_TRUE(hand.Wait(isBelow, 3000)) << place.first << ", " << place.second << " and "
                                              << newerPlace.first << ", " << newerPlace.second;
    }

    WindowOperator hand;
    TestDialog dialog;
};
