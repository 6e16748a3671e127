// A dialog with a control of every kind that notes what it is told.
#pragma once

#include "platform/boxes.h"
#include "platform/dialog.h"
#include "platform/paint.h"

#include <functional>
#include <stdexcept>
#include <vector>

enum BenchId
{
    Go = 100,
    Flag,
    First,
    Second,
    Whole,
    Real,
    Picture,
    Across,
    Down,
    Track,
    Throw,
    Nested
};

inline constexpr int IDABORT = 3; // how the bench answers the wish for its end

inline constexpr ControlTemplate BenchControls[] = {
    {IDOK, ControlKind::DefaultButton, "E&xit", {4, 4, 40, 14}},
    {Go, ControlKind::PushButton, "&Go", {50, 4, 40, 14}},
    {Flag, ControlKind::CheckBox, "&Flag", {100, 4, 40, 10}},
    {First, ControlKind::RadioButton, "F&irst", {4, 24, 40, 10}, GroupStart},
    {Second, ControlKind::RadioButton, "S&econd", {50, 24, 40, 10}},
    {0, ControlKind::Label, "Scale &center:", {4, 44, 50, 8}},
    {Whole, ControlKind::Edit, "", {60, 42, 40, 12}},
    {0, ControlKind::Label, "Ga&mma:", {104, 44, 40, 8}},
    {Real, ControlKind::Edit, "", {150, 42, 40, 12}},
    {Picture, ControlKind::Frame, "", {4, 60, 100, 60}, 0, "Picture"},
    {Across, ControlKind::HorizontalScrollBar, "", {4, 122, 100, 10}, 0, "Left and right"},
    {Down, ControlKind::VerticalScrollBar, "", {106, 60, 10, 60}, 0, "Up and down"},
    {Track, ControlKind::TrackBar, "", {120, 60, 80, 20}, 0, "Track"},
    {Throw, ControlKind::PushButton, "&Throw", {120, 90, 40, 14}},
    {Nested, ControlKind::PushButton, "&Nested", {120, 110, 40, 14}},
};
inline constexpr DialogTemplate BenchTemplate{1, "Bench",       210, 140, "MS Sans Serif",
                                              8, BenchControls, true};

class BenchDialog : public CDialog
{
public:
    explicit BenchDialog(CWnd* parent = nullptr) : CDialog(BenchTemplate, parent) {}

    std::uint32_t m_whole = 3700;
    double m_real = 0.5;
    BOOL m_flag = FALSE;
    int m_radio = -1;
    CScrollBar m_across;
    CSliderCtrl m_track;
    std::vector<std::pair<UINT, WPARAM>> m_seen; // what came, in order
    std::vector<int> m_clicked;                  // ids of check boxes and radio buttons, in order
    std::function<void()> m_go, m_message, m_paint;
    std::string m_dropped;

private:
    void DoDataExchange(CDataExchange* dx) override
    {
        DDX_Control(dx, Across, m_across);
        DDX_Control(dx, Track, m_track);
        DDX_Text(dx, Whole, m_whole);
        DDX_Text(dx, Real, m_real);
        DDX_Check(dx, Flag, m_flag);
        DDX_Radio(dx, First, m_radio);
    }
    void OnGo()
    {
        if (m_go) {
            m_go();
        }
    }
    template <int Id>
    void OnClicked()
    {
        m_clicked.push_back(Id);
    }
    void OnThrow() { throw std::runtime_error("<b>thrown</b>"); }
    void OnNested() { BenchDialog(this).DoModal(); }
    void OnLeave() { UpdateData(TRUE); }
    void OnPaint()
    {
        if (m_paint) {
            m_paint();
        }
    }
    void OnTimer(UINT_PTR timer) { m_seen.emplace_back(WM_TIMER, timer); }
    void OnScroll(UINT code, std::uint32_t position)
    {
        m_seen.emplace_back(code, position);
        if (code == SB_LINEDOWN) {
            m_across.SetScrollPos(m_across.GetScrollPos() + 1);
        }
    }
    LRESULT OnDraw()
    {
        m_seen.emplace_back(WM_NOTIFY, m_track.GetPos());
        return 0;
    }
    LRESULT OnMessage(WPARAM wParam, LPARAM)
    {
        m_seen.emplace_back(WM_USER, wParam);
        if (m_message) {
            m_message();
        }
        return 7;
    }
    LRESULT OnEndSession(WPARAM, LPARAM)
    {
        EndDialog(IDABORT);
        return TRUE;
    }
    LRESULT OnDrop(WPARAM, LPARAM path)
    {
        m_dropped = reinterpret_cast<const char*>(path);
        return 0;
    }
    std::span<const DispatchEntry> DispatchTable() const override
    {
        using Self = BenchDialog;
        static constexpr DispatchEntry Table[] = {
            on::Command<&Self::OnGo>(Go),
            on::Command<&Self::OnClicked<Flag>>(Flag),
            on::Command<&Self::OnClicked<First>>(First),
            on::Command<&Self::OnClicked<Second>>(Second),
            on::Command<&Self::OnThrow>(Throw),
            on::Command<&Self::OnNested>(Nested),
            on::LeaveField<&Self::OnLeave>(Whole),
            on::Paint<&Self::OnPaint>(),
            on::Timer<&Self::OnTimer>(),
            on::HorizontalScroll<&Self::OnScroll>(),
            on::VerticalScroll<&Self::OnScroll>(),
            on::Notify<&Self::OnDraw>(NM_CUSTOMDRAW, Track),
            on::Message<&Self::OnMessage>(WM_USER),
            on::Message<&Self::OnDrop>(WM_DROPFILES),
            on::Message<&Self::OnEndSession>(WM_QUERYENDSESSION),
        };
        return Table;
    }
};
