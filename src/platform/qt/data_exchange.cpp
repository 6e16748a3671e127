// The exchange of data between controls and members.
#include "platform/boxes.h"
#include "platform/dialog.h"
#include "platform/qt/control_widgets.h"
#include "platform/qt/text.h"
#include "platform/qt/window_table.h"

#include <QAbstractButton>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

HWND Control(const CDataExchange& dx, int id);
bool Reads(const CDataExchange& dx);

template <typename Number>
void ExchangeNumber(CDataExchange& dx, int id, Number& value, const char* takes);
bool Parse(std::string_view text, std::uint32_t& value);
bool Parse(std::string_view text, double& value);
std::string_view Trim(std::string_view text);
template <typename Number>
std::string Format(Number value);

void Reject(CDataExchange& dx, int id, const char* takes);
std::string FieldName(const DialogTemplate& form, int id);
std::vector<HWND> RadioGroup(const CDataExchange& dx, int first);

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
    auto* const button = dynamic_cast<QAbstractButton*>(WidgetOf(Control(*dx, id)));
    if (Reads(*dx))
        value = button->isChecked() ? TRUE : FALSE;
    else if (!dx->m_bSaveAndValidate)
        button->setChecked(value != FALSE);
}

void DDX_Radio(CDataExchange* dx, int id, int& value)
{
    const std::vector<HWND> group = RadioGroup(*dx, id);
    if (Reads(*dx)) {
        const auto checked = std::find_if(group.begin(), group.end(), [](HWND button) {
            return static_cast<QAbstractButton*>(WidgetOf(button))->isChecked();
        });
        value = checked != group.end() ? static_cast<int>(checked - group.begin()) : -1;
    } else if (!dx->m_bSaveAndValidate)
        for (std::size_t i = 0; i < group.size(); ++i)
            CButton(group[i]).SetCheck(static_cast<int>(i) == value);
}

void DDX_Slider(CDataExchange* dx, int id, std::int32_t& value)
{
    CSliderCtrl slider(Control(*dx, id));
    if (Reads(*dx))
        value = slider.GetPos();
    else if (!dx->m_bSaveAndValidate)
        slider.SetPos(value);
}

namespace {

HWND Control(const CDataExchange& dx, int id)
{
    const HWND control = dx.m_pDlg->GetDlgItem(id).GetSafeHwnd();
    if (control != nullptr)
        return control;
    std::fprintf(stderr, "Dialog template %d has no control %d to exchange data with.\n",
                 dx.m_pDlg->Template().id, id);
    std::abort();
}

bool Reads(const CDataExchange& dx)
{
    return dx.m_bSaveAndValidate && !dx.m_rejected;
}

template <typename Number>
void ExchangeNumber(CDataExchange& dx, int id, Number& value, const char* takes)
{
    CWnd edit(Control(dx, id));
    if (!dx.m_bSaveAndValidate)
        edit.SetWindowText(Format(value));
    else if (Reads(dx) && !Parse(Trim(edit.GetWindowText()), value))
        Reject(dx, id, takes);
}

// Numbers are read and written the same in every country: a point, no thousands' marks. value
// changes only when the text is such a number.
bool Parse(std::string_view text, std::uint32_t& value)
{
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end)
        return false;
    value = number;
    return true;
}

bool Parse(std::string_view text, double& value)
{
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end || !std::isfinite(number))
        return false;
    value = number;
    return true;
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t start = text.find_first_not_of(blanks);
    if (start == std::string_view::npos)
        return {};
    return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

// The shortest text that reads back as the same number.
template <typename Number>
std::string Format(Number value)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

void Reject(CDataExchange& dx, int id, const char* takes)
{
    dx.m_rejected = true;
    const std::string reason = FieldName(dx.m_pDlg->Template(), id) + ": " + takes;
    const HWND field = Control(dx, id);
    auto* const edit = dynamic_cast<EditControl*>(WidgetOf(field));
    const bool isNew = edit->Reject(FromBytes(reason));

    // Told once, the operator may leave the field as it is, but not act on it.
    if (!isNew && dx.m_leavingField)
        return;
    if (isNew) {
        DialogWindow* const window = DialogOf(field);
        window->m_showsRejection = true;
        MessageBoxA(window->Handle(), reason.c_str(), AfxGetApp()->Name().c_str(),
                    MB_OK | MB_ICONEXCLAMATION | MB_TOPMOST);
        window->m_showsRejection = false;
    }
    edit->setFocus(Qt::OtherFocusReason);
    edit->selectAll();
}

// The label before the field, as the operator reads it.
std::string FieldName(const DialogTemplate& form, int id)
{
    const ControlTemplate* label = nullptr;
    for (const ControlTemplate& control : form.controls) {
        if (control.id == id)
            break;
        label = &control;
    }
    if (label == nullptr || label->kind != ControlKind::Label)
        return "Field " + std::to_string(id);
    std::string name = label->text;
    std::erase(name, '&');
    while (name.ends_with(':') || name.ends_with(' '))
        name.pop_back();
    return name;
}

std::vector<HWND> RadioGroup(const CDataExchange& dx, int first)
{
    std::vector<HWND> group;
    for (const ControlTemplate& control : dx.m_pDlg->Template().controls) {
        if (control.kind != ControlKind::RadioButton)
            continue;
        if (!group.empty() && (control.flags & GroupStart) != 0)
            break;
        if (!group.empty() || control.id == first)
            group.push_back(Control(dx, control.id));
    }
    if (group.empty())
        Control(dx, first);
    return group;
}

} // namespace
