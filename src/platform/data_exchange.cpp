// The exchange of data between controls and members, by the contract's own operations.
#include "platform/boxes.h"
#include "platform/dialog.h"
#include "platform/dialog_hooks.h"
#include "platform/field_text.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

HWND Control(const CDataExchange& dx, int id);
bool Reads(const CDataExchange& dx);

template <typename Number>
void ExchangeNumber(CDataExchange& dx, int id, Number& value, const char* takes);

std::vector<CButton> RadioGroup(const CDataExchange& dx, int first);

} // namespace

void DDX_Control(CDataExchange* dx, int id, CWnd& control)
{
    control.m_hWnd = Control(*dx, id);
}

void DDX_Text(CDataExchange* dx, int id, std::uint32_t& value)
{
    ExchangeNumber(*dx, id, value, "takes a whole number from 0 to 4294967295.");
}

void DDX_Text(CDataExchange* dx, int id, double& value)
{
    ExchangeNumber(*dx, id, value, "takes a number, such as 1 or 0.5.");
}

void DDX_Check(CDataExchange* dx, int id, BOOL& value)
{
    CButton button(Control(*dx, id));
    if (Reads(*dx)) {
        value = button.GetCheck() != 0 ? TRUE : FALSE;
    } else if (!dx->m_bSaveAndValidate) {
        button.SetCheck(value != FALSE ? 1 : 0);
    }
}

void DDX_Radio(CDataExchange* dx, int id, int& value)
{
    std::vector<CButton> group = RadioGroup(*dx, id);
    if (Reads(*dx)) {
        value = -1;
    }
    for (int i = 0; i < static_cast<int>(group.size()); ++i) {
        CButton& button = group[static_cast<std::size_t>(i)];
        if (!dx->m_bSaveAndValidate) {
            button.SetCheck(i == value ? 1 : 0);
        } else if (Reads(*dx) && button.GetCheck() != 0) {
            value = i;
        }
    }
}

void DDX_Slider(CDataExchange* dx, int id, std::int32_t& value)
{
    CSliderCtrl slider(Control(*dx, id));
    if (Reads(*dx)) {
        value = slider.GetPos();
    } else if (!dx->m_bSaveAndValidate) {
        slider.SetPos(value);
    }
}

namespace {

HWND Control(const CDataExchange& dx, int id)
{
    const HWND control = dx.m_pDlg->GetDlgItem(id).GetSafeHwnd();
    if (control != nullptr) {
        return control;
    }
    std::fprintf(stderr, "Dialog template %d has no control %d to exchange data with.\n",
                 dx.m_pDlg->Template().id, id);
    std::abort();
}

bool Reads(const CDataExchange& dx)
{
    return (dx.m_bSaveAndValidate != 0) && !dx.m_rejected;
}

template <typename Number>
void ExchangeNumber(CDataExchange& dx, int id, Number& value, const char* takes)
{
    CEdit edit(Control(dx, id));
    if (!dx.m_bSaveAndValidate) {
        edit.SetWindowText(FormatNumber(value));
    } else if (Reads(dx) && !ParseNumber(edit.GetWindowText(), value)) {
        dx.m_rejected = true;
        RejectEdit(dx, edit.GetSafeHwnd(), FieldName(dx.m_pDlg->Template(), id) + ": " + takes);
    }
}

std::vector<CButton> RadioGroup(const CDataExchange& dx, int first)
{
    std::vector<CButton> group;
    for (const ControlTemplate& control : dx.m_pDlg->Template().controls) {
        if (control.kind != ControlKind::RadioButton) {
            continue;
        }
        if (!group.empty() && (control.flags & GroupStart) != 0) {
            break;
        }
        if (!group.empty() || control.id == first) {
            group.emplace_back(Control(dx, control.id));
        }
    }
    if (group.empty()) {
        Control(dx, first);
    }
    return group;
}

} // namespace
