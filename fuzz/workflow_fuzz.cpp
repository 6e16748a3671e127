// Fuzz target: the real main window between a capture library that answers at random and an
// operator who acts at random. When the input is used up, the library is well and the operator
// goes home.
#include "fuzz_file.h"
#include "platform/system.h"
#include "storage/paths.h"
#include "support/headless_bench.h"
#include "support/scripted_library.h"

#include <filesystem>
#include <fuzzer/FuzzedDataProvider.h>

namespace {

constexpr int DeepestBox = 4; // in which the operator still does other things

const std::string savedFolder = AutoSaveFolder(ProgramFolder(nullptr));

std::size_t ForgetSavedImages()
{
    std::size_t count = 0;
    std::error_code none; // no folder before the first image
    for (const auto& file : std::filesystem::directory_iterator(savedFolder, none))
        count += std::filesystem::remove(file.path());
    return count;
}

// One start of the program to its end.
class Life
{
public:
    Life(const std::uint8_t* data, std::size_t size) : m_choices(data, size) {}

    void Run()
    {
        m_library.onCall = [this](Export which) { Called(which); };
        headless::SetOperator({[this](CDialog& dialog) { Use(dialog); },
                               [this](const headless::Box& box) { return Answer(box); },
                               [this] { return Path(); }});
        m_bench.DoModal();
        Require(m_closed && m_library.Outstanding() == 0 && m_library.wrongFrees == 0);
        Require(headless::LiveWindows() == 0 && headless::LiveTimers() == 0);
        headless::Reset();
        ForgetSavedImages();
    }

private:
    void Called(Export which)
    {
        Require(!m_closed || which == Export::FreeObject || which == Export::DescribeResult);
        m_closed |= which == Export::Close;
        // An image leaves the store when it was saved, when the operator said so, or when images
        // are neither saved nor asked about.
        if (which == Export::RemoveImage && m_removalAllowedAt != m_library.calls.size())
            Require(m_bench.autoSaveImages ? ForgetSavedImages() != 0 : m_bench.autoEnable);

        const auto fault = static_cast<Fault>(Below(5));
        const std::pair<std::uint32_t, std::uint32_t> parameter{Below(4), Pick(14, 15, 80, 82, 10)};
        switch (Quiet() ? 0 : Below(16)) {
        case 1:
            return m_library.Fail(which, Number());
        case 2:
            return m_library.Break(which, fault, 1 + Below(3), Pick(0, 0, 5, ResultError));
        case 3:
            return m_library.devices.push_back({Below(4), Pick(1, 2, 4, 100), Text(), Text()});
        case 4:
            return m_library.devices.clear();
        case 5:
            m_library.deviceParams[parameter] = Value();
            break;
        case 6:
            m_library.libraryParams[17] = Value();
            break;
        case 7:
            m_library.descriptions[Number()] = Text();
            break;
        case 8:
            Post(Below(8), Pick(2, 3, 4, 6, 7, 15, 17, ResultError + 5, ResultWarning));
        }
    }

    int Answer(const headless::Box& box)
    {
        ++m_boxes;
        for (unsigned acts = m_boxes < DeepestBox ? Below(4) : 0; acts > 0; --acts)
            Act(*headless::TopDialog());
        --m_boxes;
        const auto answer = static_cast<int>(Pick(0, IDOK, IDCANCEL, IDYES, IDNO));
        if ((answer == IDOK || answer == IDYES) && box.text.ends_with("Remove image?"))
            m_removalAllowedAt = m_library.calls.size() + 1;
        return answer;
    }

    void Use(CDialog& dialog)
    {
        while (!Quiet() && headless::IsOpen(dialog))
            Act(dialog);
        if (&dialog != &m_bench || !headless::IsOpen(dialog))
            return;
        m_library.devices.clear();
        headless::RunFor(5000);
        headless::Escape(dialog);
        Require(!headless::IsOpen(dialog));
    }

    void Act(CDialog& dialog)
    {
        const auto controls = dialog.Template().controls;
        const int id = controls[Below(static_cast<unsigned>(controls.size()))].id;
        const auto number = Number();
        switch (Below(14)) {
        case 0:
            return StoreImage();
        case 1:
            return Post(Below(8), Below(2) ? number : Pick(2, 3, 4, 6, 7, 15, 17));
        case 2:
            return void(headless::Click(dialog, id));
        case 3:
            return void(headless::Click(
                dialog, static_cast<int>(Pick(IdEnable, IdAutoEnable, IdAutoSaveImages))));
        case 4:
            return void(headless::Type(dialog, id, Text()));
        case 5:
            return void(headless::Focus(dialog, id));
        case 6:
            return void(headless::Scroll(dialog, id, Below(10), number));
        case 7:
            return void(headless::Drag(dialog, id, static_cast<int>(number)));
        case 8:
            return void(headless::DropFile(dialog, Path()));
        case 9:
            return void(headless::Minimize(dialog));
        case 10:
            return void(Below(2) ? headless::Escape(dialog) : headless::CloseButton(dialog));
        case 11:
            return number % 16 == 1 ? headless::EndSession() : void();
        default:
            headless::RunFor(number % 4000);
        }
    }

    void Post(std::uint32_t number, std::uint32_t event)
    {
        PostMessageA(m_bench.GetSafeHwnd(), WM_TARN_EVENT, number, event);
    }

    // Sizes that the library cannot have pixels for come without them.
    void StoreImage()
    {
        const auto number = static_cast<std::uint32_t>(m_library.images.size() + 1);
        const std::uint32_t absurd = Below(16) == 1 ? Number() : 0;
        const std::uint32_t width = Below(12) + absurd;
        const std::uint32_t height = Below(12) + absurd;
        const std::uint32_t pixelBytes = Pick(2, 1, 3, 4, 6, 0);
        std::vector<std::uint8_t> pixels(absurd ? 0 : width * height * pixelBytes, '\x0A');
        m_library.images.push_back({number, number + Pick(0, 0xFFFFFFF0), width, height, pixelBytes,
                                    Pick(12, 8, 16, 0, 64), 0, std::move(pixels),
                                    Pick(0, 1) ? "ProgramName=" + Text() + ";kV=1" : Text(),
                                    Text()});
        Post(number, 2);
    }

    ScriptedLibrary::Parameter Value()
    {
        const ScriptedLibrary::Parameter values[] = {Below(4), static_cast<std::int32_t>(Below(2)),
                                                     Text(), ScriptedLibrary::Block(36, 'b')};
        return values[Below(4)];
    }

    std::string Path()
    {
        const std::string paths[] = {"", savedFolder + Text(), "/dev/null", FuzzFile("junk", 4)};
        return paths[Below(4)];
    }

    bool Quiet() { return m_choices.remaining_bytes() == 0; }
    unsigned Below(unsigned end) { return m_choices.ConsumeIntegralInRange(0u, end - 1); }
    std::uint32_t Pick(auto... values)
    {
        const std::uint32_t all[] = {static_cast<std::uint32_t>(values)...};
        return all[Below(sizeof...(values))];
    }
    std::uint32_t Number() { return m_choices.ConsumeIntegral<std::uint32_t>(); }
    std::string Text() { return m_choices.ConsumeRandomLengthString(24); }

    FuzzedDataProvider m_choices;
    ScriptedLibrary m_library;
    HeadlessBench m_bench;
    std::size_t m_removalAllowedAt = 0; // the number of the call that an answer allows
    int m_boxes = 0;                    // open
    bool m_closed = false;
};

} // namespace

// Saved images go to memory: a disk would be waited for with every one of them.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    const std::string memory = "/dev/shm/workflow_fuzz_" + std::to_string(getpid());
    std::filesystem::create_directories(memory);
    std::error_code exists;
    const std::string link = savedFolder.substr(0, savedFolder.size() - 1);
    if (std::filesystem::is_symlink(link)) {
        std::filesystem::remove_all(std::filesystem::read_symlink(link));
        std::filesystem::remove(link);
    }
    std::filesystem::create_directory_symlink(memory, link, exists);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    headless::SetBaseUnits(SmallBaseWidth, SmallBaseHeight);
    Life(data, size).Run();
    return 0;
}
