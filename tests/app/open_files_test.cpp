// The Open dialog: where it stands, and which names it knows.
#include "main_dialog_fixture.h"
#include "storage/q32_file.h"

#include <cstdlib>

namespace {

namespace fs = std::filesystem;

class OpenFiles : public MainDialog
{
protected:
    OpenFiles()
    {
        fs::remove_all(elsewhere);
        fs::create_directories(elsewhere);
        fs::current_path(elsewhere);
    }
    ~OpenFiles() override
    {
        fs::current_path(former);
        setenv("HOME", home.c_str(), 1);
        fs::remove_all(elsewhere);
    }
    static void Write(const fs::path& path, const std::string& programName)
    {
        fs::create_directories(path.parent_path());
        CImage image(3, 2, 8, 0, 1);
        image.Fill(0);
        image.m_headerText = "ProgramName=" + programName;
        ASSERT_TRUE(WriteQ32File(path.c_str(), image));
    }
    // Opens what the operator types, and gives the title.
    std::string Open(const std::string& typed)
    {
        hand.WhenFileDialog(typed);
        hand.Click(IdOpen);
        return hand.Title();
    }
    // The same in a window that has opened nothing yet.
    std::string OpenFirst(const std::string& typed)
    {
        std::string title;
        Window fresh;
        hand.Run(fresh, [&] { title = Open(typed); });
        return title;
    }

    const fs::path former = fs::current_path();
    const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    const fs::path elsewhere = ProgramFolder(nullptr) + "elsewhere";
};

TEST_F(OpenFiles, NamesAreKnownWithoutTheirExtension)
{
    Write(folder / "P_1_1.q32", "small");
    Write(folder / "P_1_2.Q32", "capital");
    Write(folder / "plain", "plain");
    Write(folder / "dotted_1.5_1_1.Q32", "dotted");
    Write(folder / "P_1_1 (2).Q32", "copy");
    Write(elsewhere / "other.Q32", "other");
    const std::pair<std::string, std::string> cases[] = {{"P_1_1", "small"},
                                                         {"P_1_2", "capital"},
                                                         {"P_1_2.Q32", "capital"},
                                                         {"plain", "plain"},
                                                         {"P_1_1 (2)", "copy"},
                                                         {"dotted_1.5_1_1", "dotted"},
                                                         {elsewhere / "other", "other"}};
    Run([&] {
        for (const auto& [typed, title] : cases) {
            EXPECT_EQ(Open(typed), title) << typed;
        }
    });
}

TEST_F(OpenFiles, ItStandsWhereImagesAre)
{
    Write(folder / "here.Q32", "saved");
    Write(elsewhere / "here.Q32", "working folder");
    Write(elsewhere / "home" / "here.Q32", "home");
    Write(elsewhere / "last" / "here.Q32", "last");
    EXPECT_EQ(OpenFirst("here"), "saved");
    Run([&] {
        EXPECT_EQ(Open(elsewhere / "last" / "here.Q32"), "last");
        EXPECT_EQ(Open("here"), "last") << "where the last one was opened";
        fs::remove_all(elsewhere / "last");
        EXPECT_EQ(Open("here"), "saved") << "that folder is gone";
    });
    fs::remove_all(folder);
    EXPECT_EQ(OpenFirst("here"), "working folder");
    fs::current_path("/");
    setenv("HOME", (elsewhere / "home").c_str(), 1);
    EXPECT_EQ(OpenFirst("here"), "home") << "the root holds no images";
}

} // namespace
