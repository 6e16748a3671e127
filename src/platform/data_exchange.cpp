// The exchange of data between controls and members, by the contract's own operations.
#include "platform/dialog.h"
#include "platform/field_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using Pass = CDataExchange::Pass;

HWND Control(const CDataExchange& dx, int id);
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
    if (dx->m_pass == Pass::Read) {
        value = button.GetCheck() != 0 ? TRUE : FALSE;
    } else if (dx->m_bSaveAndValidate == FALSE) {
        button.SetCheck(value != FALSE ? 1 : 0);
    }
}

void DDX_Radio(CDataExchange* dx, int id, int& value)
{
    std::vector<CButton> group = RadioGroup(*dx, id);
    if (dx->m_pass == Pass::Read) {
        const auto checked = std::ranges::find_if(
            group, [](const CButton& button) { return button.GetCheck() != 0; });
        value = checked == group.end() ? -1 : static_cast<int>(checked - group.begin());
    } else if (dx->m_pass == Pass::Write) {
        for (int i = 0; i < static_cast<int>(group.size()); ++i) {
            group[static_cast<std::size_t>(i)].SetCheck(i == value ? 1 : 0);
        }
    }
}

void DDX_Slider(CDataExchange* dx, int id, std::int32_t& value)
{
    CSliderCtrl slider(Control(*dx, id));
    if (dx->m_pass == Pass::Read) {
        value = slider.GetPos();
    } else if (dx->m_pass == Pass::Write) {
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

template <typename Number>
void ExchangeNumber(CDataExchange& dx, int id, Number& value, const char* takes)
{
    CEdit edit(Control(dx, id));
    if (dx.m_pass == Pass::Write) {
        edit.SetWindowText(FormatNumber(value));
    } else if (dx.m_bSaveAndValidate != FALSE && dx.m_rejectedField == nullptr) {
        Number number = value;
        if (!ParseNumber(edit.GetWindowText(), number)) {
            dx.m_rejectedField = edit.GetSafeHwnd();
            dx.m_rejectionReason = FieldName(dx.m_pDlg->Template(), id) + ": " + takes;
        } else if (dx.m_pass == Pass::Read) {
            value = number;
        }
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
