// The program with the simulated library as a vendor's: loaded, with a thread of its own, strict
// about misuse, and failing on purpose while the operator works.
#include "resources/settings_dialog_template.h"
#include "support/headless_bench.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

class SimulatorFaults : public testing::Test
{
protected:
    SimulatorFaults()
        : m_folder(std::filesystem::temp_directory_path() /
                   ("tarn_faults_" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(m_folder);
        setenv("TARN_SIMULATOR", (m_folder / "Tarn.ini").c_str(), 1);
        Configure("");
        headless::SetBaseUnits(SmallBaseWidth, SmallBaseHeight);
    }
    ~SimulatorFaults() override
    {
        headless::Reset();
        std::filesystem::remove_all(m_folder);
    }

    void Configure(const std::string& fault)
    {
        std::ofstream(m_folder / "new.ini")
            << "time_factor = 100\nexposure_delay = 1\nimage_width = 16\nimage_height = 16\n"
            << "seed = 7\nstrict = on\nstore_folder = " << (m_folder / "Store").string() << '\n'
            << fault << '\n';
        std::filesystem::rename(m_folder / "new.ini", m_folder / "Tarn.ini");
    }

    // A life of the program in which every box is agreed to; it must end with script's Exit.
    void Live(const std::function<void()>& script)
    {
        HeadlessBench bench;
        m_bench = &bench;
        headless::SetOperator({[&](CDialog& dialog) {
                                   headless::RunFor(1500);
                                   if (&dialog != &bench)
                                       return void(headless::Click(dialog, IDOK));
                                   script();
                                   EXPECT_TRUE(Until([&] {
                                       headless::Click(dialog, IdAbort);
                                       headless::Click(dialog, IdExit);
                                       return !headless::IsOpen(dialog);
                                   }));
                               },
                               [this](const headless::Box& box) {
                                   m_images += box.text.starts_with("Image ready");
                                   return box.text.starts_with("Found old image:") ? IDOK
                                          : (box.style & 4) != 0                   ? IDYES
                                                                                   : IDOK;
                               },
                               {}});
        bench.DoModal();
        EXPECT_EQ(headless::LiveWindows() + headless::LiveTimers(), 0u);
    }

    // Lets the program poll, and the library's thread work, until the condition holds.
    static bool Until(const std::function<bool()>& condition)
    {
        for (int round = 0; round < 3000; ++round) {
            if (condition())
                return true;
            headless::WaitForPost(std::chrono::milliseconds(2));
            headless::RunFor(500);
        }
        return false;
    }

    bool IsReady() const { return headless::IsEnabled(*m_bench, IdEnable); }
    bool Click(int id) { return headless::Click(*m_bench, id); }

    std::filesystem::path m_folder;
    HeadlessBench* m_bench = nullptr;
    int m_images = 0; // that the operator was asked about
};

// With the fault: an exposure, the report, the settings, an abort. Once it is gone the next
// exposure brings its image.
TEST_F(SimulatorFaults, TheNextExposureWorksAfterEveryFault)
{
    constexpr const char* operations[] = {
        "TarnEnableCapture",  "TarnDisableCapture", "TarnGetLibraryParam", "TarnSetLibraryParam",
        "TarnGetImage",       "TarnRemoveImage",    "TarnGetImageCount",   "TarnGetDeviceList",
        "TarnGetDeviceParam", "TarnSetDeviceParam", "TarnDescribeResult",  "event_2"};
    constexpr const char* faults[] = {"warning 5",   "error 5",    "information 5", "0x400005",
                                      "null",        "wrong-type", "null-texts",    "no-header",
                                      "empty-image", "block 1"};
    constexpr const char* eventFaults[] = {"never", "late 1", "twice", "missing"};
    int cells = 0;
    for (const std::string operation : operations)
        for (const std::string fault : operation == "event_2"
                                           ? std::span<const char* const>(eventFaults)
                                           : std::span<const char* const>(faults)) {
            SCOPED_TRACE(operation + " = always " + fault);
            Live([&] {
                EXPECT_TRUE(Until([&] { return IsReady(); }));
                Configure(operation + " = always " + fault);
                Click(IdEnable);
                for (int round = 0; round < 15; ++round) {
                    headless::WaitForPost(std::chrono::milliseconds(2));
                    headless::RunFor(500);
                }
                for (const int id : {IdInfo, IdSettings, IdEightBitRead, IdEnable, IdAbort})
                    Click(id);
                Configure("");
                EXPECT_TRUE(Until([&] {
                    Click(IdAbort);
                    return IsReady();
                }));
                m_images = 0;
                EXPECT_TRUE(Click(IdEnable));
                EXPECT_TRUE(Until([&] { return m_images > 0; }));
            });
            ++cells;
        }
    std::printf("simulator faults: %d cells\n", cells);
}

TEST_F(SimulatorFaults, ArmsAndAbortsAThousandTimes)
{
    Configure("exposure_delay = never");
    Live([&] {
        for (int time = 0; time < 1000; ++time) {
            ASSERT_TRUE(Until([&] { return Click(IdEnable); }));
            ASSERT_TRUE(Until([&] { return Click(IdAbort); }));
        }
    });
    EXPECT_EQ(m_images, 0);
}

TEST_F(SimulatorFaults, OpensAndClosesTheLibraryAHundredTimes)
{
    for (int time = 0; time < 100; ++time)
        Live([] {});
}

} // namespace
