// The random acts and what must hold after each of them.
#include "support/random_operator.h"

#include "platform/boxes.h"
#include "platform/messages.h"
#include "platform/policy.h"
#include "storage/paths.h"
#include "support/headless_program.h"
#include "support/image_ledger.h"
#include "support/scripted_library.h"

#include <filesystem>
#include <optional>
#include <random>

namespace {

constexpr std::size_t DeepestBox = 4; // in which the operator still does other things

// Draws on bytes. When they are used up everything is 0, the first or empty.
class Choices
{
public:
    explicit Choices(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    bool IsUsedUp() const { return m_bytes.empty(); }
    std::uint32_t Below(std::size_t end) { return Byte() % static_cast<std::uint32_t>(end); }
    std::uint32_t Number()
    {
        std::uint32_t number = 0;
        for (int i = 0; i < 4; ++i) {
            number = number << 8 | Byte();
        }
        return number;
    }
    std::uint32_t Pick(auto... values)
    {
        const std::uint32_t all[] = {static_cast<std::uint32_t>(values)...};
        return all[Below(sizeof...(values))];
    }
    std::string Text()
    {
        std::string text(Below(25), ' ');
        for (char& character : text) {
            character = static_cast<char>(Byte());
        }
        return text;
    }

private:
    std::uint32_t Byte()
    {
        if (m_bytes.empty()) {
            return 0;
        }
        const std::uint8_t byte = m_bytes.front();
        m_bytes = m_bytes.subspan(1);
        return byte;
    }

    std::span<const std::uint8_t> m_bytes;
};

class RandomLives
{
public:
    explicit RandomLives(std::span<const std::uint8_t> choices)
        : m_choices(choices), m_nextId(m_choices.Pick(1, 0, 0xFFFFFFFF))
    {
        m_library.onCall = [this](Export which) { Called(which); };
        m_library.onImage = [this](const TarnImageRecord& record) {
            m_ledger.HandedOut(record, Discards());
        };
        m_hand.Improvise({[this](CDialog& dialog) { Use(dialog); },
                          [this](const ShownBox& box) { return Answer(box); },
                          [this] { return ChooseFile(); }});
        ForgetSavedImages();
    }
    ~RandomLives() { ForgetSavedImages(); }

    Story Run()
    {
        do {
            Live();
        } while (!m_choices.IsUsedUp());
        const auto& breaks = m_ledger.Breaks();
        m_faults.insert(m_faults.end(), breaks.begin(), breaks.end());
        return {m_faults, m_library.calls};
    }

private:
    using Act = void (RandomLives::*)();

    // One start of the program to its end.
    void Live()
    {
        Note("the program starts");
        m_program.emplace();
        m_isHeard = m_isClosed = m_isEnded = false;
        m_isHostile = m_choices.Below(4) == 1;
        headless::SetBaseUnits(SmallBaseWidth, SmallBaseHeight);
        m_program->DoModal();
        Watch();
        m_ledger.EndRun(m_isEnded);
        Require(m_isClosed, "end: the library was not closed");
        Require(m_library.Outstanding() == 0 && m_library.wrongFrees == 0,
                "end: objects of the library were not freed, or freed twice");
        Require(headless::LiveWindows() == 0 && headless::LiveTimers() == 0,
                "end: windows or timers were left");
        headless::Reset();
    }

    void Use(CDialog& dialog)
    {
        while (!m_choices.IsUsedUp() && ModalLoop::IsOpen(dialog)) {
            ActOnce();
        }
        if (&dialog != &*m_program || !ModalLoop::IsOpen(dialog)) {
            return;
        }
        m_library.devices.clear();
        headless::RunFor(5000);
        m_hand.PressEscape();
        Require(!ModalLoop::IsOpen(dialog), "end: the Escape key did not close the window");
    }

    int Answer(const ShownBox& box)
    {
        Note("box: " + box.text);
        ActMeanwhile();
        headless::Pump(); // nobody answers before the screen shows what has happened
        const auto answer = static_cast<int>(m_choices.Pick(0, IDOK, IDCANCEL, IDYES, IDNO));
        Note("answer " + std::to_string(answer) + " to: " + box.text);
        Watch();
        if (box.text.ends_with("Remove image?") && !m_isEnded) {
            const bool isQuestion = (box.style & MB_YESNO) != 0;
            m_ledger.Answered(m_program->IsIconic() ? headless::Picture() : headless::LastPicture(),
                              m_program->displayLut.data(), answer == (isQuestion ? IDYES : IDOK));
        }
        return answer;
    }

    std::string ChooseFile()
    {
        ActMeanwhile();
        return Path();
    }

    void ActMeanwhile()
    {
        const std::size_t acts = headless::OpenBoxes() < DeepestBox ? m_choices.Below(4) : 0;
        for (std::size_t act = 0; act < acts; ++act) {
            ActOnce();
        }
    }

    // An act is as likely as it is often in its table. While a box is open, hands reach little.
    void ActOnce()
    {
        static constexpr Act Happenings[] = {
            &RandomLives::StoreImage,  &RandomLives::StoreImage,  &RandomLives::StoreImage,
            &RandomLives::NewSeries,   &RandomLives::AnyEvent,    &RandomLives::EnableFails,
            &RandomLives::EnableFails, &RandomLives::SessionEnds, &RandomLives::UseAny,
            &RandomLives::TimePasses,
        };
        static constexpr Act Hands[] = {
            &RandomLives::ClickOption,  &RandomLives::ClickOption,  &RandomLives::ClickOption,
            &RandomLives::TypeAndClick, &RandomLives::TypeAndClick, &RandomLives::UseAny,
            &RandomLives::TimePasses,
        };
        Watch();
        const bool isHand = headless::OpenBoxes() == 0 && m_choices.Below(2) != 0;
        const Act act = isHand ? Hands[m_choices.Below(std::size(Hands))]
                               : Happenings[m_choices.Below(std::size(Happenings))];
        (this->*act)();
        Watch();
    }

    // Every image has an id and a content of its own. Sizes that the library cannot have pixels for
    // come without them.
    void StoreImage()
    {
        struct Format
        {
            std::uint32_t bits, pixelBytes;
        };
        static constexpr Format Formats[] = {{12, 2}, {16, 2}, {12, 2}, {8, 1}, {12, 2}, {8, 2},
                                             {12, 4}, {8, 3},  {6, 1},  {0, 2}, {64, 2}, {12, 0}};
        const Format& format = Formats[m_choices.Below(std::size(Formats))];
        ScriptedImage& image = m_library.images.emplace_back();
        image.number = ++m_imagesStored;
        image.imageId = m_nextId++;
        const std::uint32_t absurd = m_choices.Below(16) == 1 ? m_choices.Number() : 0;
        image.width = 1 + m_choices.Below(12) + absurd;
        image.height = 1 + m_choices.Below(12) + absurd;
        image.pixelBytes = format.pixelBytes;
        image.bitsPerSample = format.bits;
        const std::size_t bytes = std::size_t{image.width} * image.height * image.pixelBytes;
        image.pixels.resize(absurd == 0 ? bytes : 0);
        std::minstd_rand random(image.number);
        for (std::uint8_t& byte : image.pixels) {
            byte = static_cast<std::uint8_t>(random() % 16); // 12 bits would not hold more
        }
        const std::string names[] = {"P", "", "Q", RareText()};
        image.headerText = "ProgramName=" + names[m_choices.Below(4)] + ";kV=1";
        image.userId = RareText();
        Note("image " + std::to_string(image.imageId) + " is stored");
        Post(image.number, EventImageReady);
    }

    std::string RareText() { return m_choices.Below(4) == 1 ? m_choices.Text() : ""; }

    void NewSeries() { Post(0, EventNewSeries); }

    void AnyEvent()
    {
        Post(m_choices.Below(m_imagesStored + 2),
             m_choices.Pick(EventImageReady, EventImageReady, EventCaptureDisabled,
                            EventCaptureDone, EventPreviewEnds, EventArmed, EventExposure,
                            ResultError + 5, ResultWarning + 5, 99));
    }

    void EnableFails()
    {
        m_library.Fail(Export::EnableCapture,
                       m_choices.Pick(ResultError, ResultWarning, ResultInformation, 0) + 7,
                       1 + m_choices.Below(2));
    }

    void TimePasses() { headless::RunFor(m_choices.Pick(0, 10, 1000, 2500)); }

    void SessionEnds()
    {
        if (m_choices.Below(4) == 1) {
            Note("the session ends");
            m_isEnded = true;
            headless::EndSession();
        }
    }

    void ClickOption()
    {
        Click(static_cast<int>(
            m_choices.Pick(IdAutoSaveImages, IdAutoEnable, IdAutoSaveImages, IdEnable)));
    }

    void TypeAndClick()
    {
        constexpr const char* Texts[] = {"x", "2", "", "100"};
        const auto id = static_cast<int>(
            m_choices.Pick(IdGamma, IdScaleWidth, IdScaleCenter, IdLutWindowWidth));
        const std::string text = Texts[m_choices.Below(std::size(Texts))];
        Note("type \"" + text + "\" into " + std::to_string(id));
        m_hand.Type(id, text);
        ClickOption();
    }

    void UseAny()
    {
        CDialog& dialog = m_hand.Dialog();
        const auto controls = dialog.Template().controls;
        const ControlTemplate& control = controls[m_choices.Below(controls.size())];
        const int id = control.id;
        Note("use " + std::to_string(id));
        switch (m_choices.Below(8)) {
        case 0:
            return Click(id);
        case 1:
            return void(m_hand.Focus(id));
        case 2:
            return m_hand.Type(id, m_choices.Text());
        case 3:
            return Scroll(dialog, control, m_choices.Below(10), m_choices.Number());
        case 4:
            return m_hand.Drag(id, static_cast<int>(m_choices.Number()));
        case 5:
            return m_hand.Drop(Path());
        case 6:
            return m_hand.Minimize();
        default:
            return m_choices.Below(2) != 0 ? m_hand.PressEscape() : m_hand.CloseWindow();
        }
    }

    void Scroll(CDialog& dialog, const ControlTemplate& bar, UINT code, std::uint32_t thumb)
    {
        const bool isAcross = bar.kind == ControlKind::HorizontalScrollBar;
        if ((isAcross || bar.kind == ControlKind::VerticalScrollBar) && m_hand.Focus(bar.id)) {
            dialog.Send(isAcross ? WM_HSCROLL : WM_VSCROLL, static_cast<WPARAM>(thumb) << 16 | code,
                        reinterpret_cast<LPARAM>(dialog.GetDlgItem(bar.id).GetSafeHwnd()));
        }
    }

    // Clicks again when a box about a rejected field came in between.
    void Click(int id)
    {
        Note("click " + std::to_string(id));
        if (!m_hand.Click(id)) {
            m_hand.Click(id);
        }
    }

    void Called(Export which)
    {
        Watch();
        const bool isLate =
            m_isClosed && which != Export::FreeObject && which != Export::DescribeResult;
        Require(!isLate, "end: the library was called after it was closed");
        Require(!m_isEnded || which != Export::EnableCapture,
                "end: the sensor was armed after the session ended");
        m_isClosed |= which == Export::Close;
        m_isHeard |= which == Export::SetNotifyWindow;
        if (m_isHostile && m_choices.Below(2) == 1) {
            Disturb(which);
        }
    }

    // The library fails, hands out nonsense, changes its devices or reports something.
    void Disturb(Export which)
    {
        static constexpr tarn::FaultRule Rules[] = {
            {}, {.wrongType = true}, {.nullTexts = true}, {.noEntries = true}};
        switch (m_choices.Below(5)) {
        case 0:
            return m_library.Fail(which, m_choices.Pick(0, m_choices.Number()));
        case 1:
            return m_library.Break(which, Rules[m_choices.Below(std::size(Rules))],
                                   1 + m_choices.Below(3), m_choices.Pick(0, 0, 5, ResultError));
        case 2:
            return m_library.devices.push_back(
                {m_choices.Below(4),
                 m_choices.Pick(StateStandBy, StateActive, StateCaptureEnabled, StateFault),
                 m_choices.Text(), m_choices.Text()});
        case 3:
            return m_library.SetDeviceInt(
                m_choices.Below(4),
                m_choices.Pick(DeviceParameter::EnableState, DeviceParameter::AbortState),
                m_choices.Below(4));
        default:
            AnyEvent();
        }
    }

    void Post(std::uint32_t number, std::uint32_t event)
    {
        if (m_isHeard) {
            Note("event " + std::to_string(event) + " " + std::to_string(number));
            PostMessageA(m_program->GetSafeHwnd(), WM_TARN_EVENT, number, event);
        }
    }

    std::string Path()
    {
        std::error_code none;
        const std::filesystem::directory_iterator saved(m_folder, none);
        const bool isAny = saved != std::filesystem::directory_iterator();
        const std::string paths[] = {"", m_folder + m_choices.Text(), "/dev/null",
                                     isAny ? saved->path().string() : ""};
        return paths[m_choices.Below(4)];
    }

    // The law, of which the ledger keeps account.
    void Watch()
    {
        std::vector<std::uint32_t> stored;
        for (const ScriptedImage& image : m_library.images) {
            stored.push_back(image.imageId);
        }
        m_ledger.Watch(stored, Discards());
    }

    // As the boxes on screen say.
    bool Discards() const { return IsChecked(IdAutoEnable) && !IsChecked(IdAutoSaveImages); }

    bool IsChecked(int id) const
    {
        return CButton(m_program->GetDlgItem(id).GetSafeHwnd()).GetCheck() != 0;
    }

    void Require(bool isTrue, const char* otherwise)
    {
        if (!isTrue) {
            m_faults.emplace_back(otherwise);
        }
    }

    void Note(const std::string& line) { m_library.calls.push_back("    " + line); }

    // The folder itself stays: it may be a link into memory.
    void ForgetSavedImages() const
    {
        std::error_code none; // no folder before the first image
        for (const auto& file : std::filesystem::directory_iterator(m_folder, none)) {
            std::filesystem::remove(file.path());
        }
    }

    const std::string m_folder = AutoSaveFolder(ProgramFolder(nullptr));
    Choices m_choices;
    ScriptedLibrary m_library;
    ImageLedger m_ledger{m_folder};
    Operator m_hand;
    std::optional<HeadlessProgram> m_program;
    std::vector<std::string> m_faults;
    std::uint32_t m_nextId;
    std::uint32_t m_imagesStored = 0;
    bool m_isHostile = false; // the library, in this life of the program
    bool m_isHeard = false;   // the library knows the window and the number of its messages
    bool m_isClosed = false;  // the library
    bool m_isEnded = false;   // the session, by a signal
};

} // namespace

Story ActAtRandom(std::span<const std::uint8_t> choices)
{
    return RandomLives(choices).Run();
}
