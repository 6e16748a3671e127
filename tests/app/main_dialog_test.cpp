// The main window over a scripted library, worked by an operator.
#include "app/main_dialog_fixture.h"
#include "platform/messages.h"
#include "storage/q32_file.h"
#include "support/test_system.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;

TEST_F(MainDialog, StartUpOpensTheLibraryAndReadsItsOptions)
{
    library.deviceParams[{0, DeviceParameter::RawFilesFolder}] = std::string("raw/here");
    library.libraryParams[LibraryParameter::FilterChain] = std::string("Chain");
    library.deviceParams[{0, DeviceParameter::TestImageMode}] = std::int32_t{1};
    library.deviceParams[{0, DeviceParameter::GainCheck}] = std::int32_t{1};
    Run([&] {
        const Strings order = {"TarnOpen \"Tarn test\"",
                               "TarnSetLibraryParam 16 block 01 00 01 00 1B 00 00 00 00 00 00 00",
                               "TarnSetNotifyWindow 1034"};
        EXPECT_EQ(library.CallsOf({"TarnOpen", "TarnSet"}), order);
        for (const int box : {IdSaveRawFiles, IdEightBitRead, IdTestImageMode}) {
            EXPECT_TRUE(hand.IsChecked(box)) << box;
        }
        EXPECT_FALSE(hand.IsChecked(IdNoGainCheck));
        EXPECT_EQ(hand.Title(), "TarnTest");

        library.calls.clear();
        hand.Click(IdNoGainCheck);
        const Strings all = {"TarnSetDeviceParam 0 80 flag 1", "TarnSetDeviceParam 0 82 flag 0",
                             "TarnSetDeviceParam 0 81 text \"raw/here\"",
                             "TarnSetLibraryParam 17 text \"Chain\""};
        EXPECT_EQ(library.CallsOf({"TarnSet"}), all);
    });
}

TEST_F(MainDialog, TheStartTellsOnceThatExportsAreMissing)
{
    library.exports.quilletOpen = nullptr;
    library.Fail(Export::Open, ResultWarning | 7);
    hand.WhenBox("lacks this operation.", IDOK);
    hand.WhenBox("Warning number: 7\n", IDOK);
    Run([] {});
    library.exports.open = nullptr;
    library.exports.setLibraryParam = nullptr;
    hand.WhenBox("lacks this operation.", IDOK);
    Window again;
    hand.Run(again, [] {});
    EXPECT_EQ(hand.Boxes().size(), 3u);
}

TEST_F(MainDialog, UnreadableOptionsFallBack)
{
    Run([&] {
        EXPECT_FALSE(hand.IsChecked(IdSaveRawFiles) || hand.IsChecked(IdEightBitRead));
        EXPECT_TRUE(hand.IsChecked(IdNoGainCheck));
        library.calls.clear();
        hand.Click(IdSaveRawFiles);
        EXPECT_EQ(library.CallsOf({"TarnSetDeviceParam 0 81", "TarnSetLibraryParam 17"}),
                  (Strings{"TarnSetDeviceParam 0 81 text \"RawFiles\"",
                           "TarnSetLibraryParam 17 text \"\""}));
        hand.Click(IdSaveRawFiles);
        EXPECT_EQ(library.CallsOf({"TarnSetDeviceParam 0 81"}).back(),
                  "TarnSetDeviceParam 0 81 text \"\"");
    });
}

TEST_F(MainDialog, TheButtonsFollowEveryDevice)
{
    constexpr std::uint32_t Unread = 99;
    const struct
    {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> devices; // parameters 14 and 15
        bool enable, abort;
    } cases[] = {
        {{{0, 1}}, true, false},
        {{{2, 1}}, false, false},
        {{{0, 1}, {2, 1}}, false, false},
        {{{1, 0}, {0, 1}}, true, true},
        {{{1, 1}, {1, 1}}, false, false},
        {{{0, 2}, {0, 0}}, true, false},
        {{{Unread, Unread}}, false, false},
        {{{0, 0}, {Unread, Unread}}, true, false},
        {{}, false, false},
    };
    Run([&] {
        for (const auto& c : cases) {
            library.devices.clear();
            library.deviceParams.clear();
            for (std::uint32_t number = 0; number < c.devices.size(); ++number) {
                library.devices.push_back({number});
                if (c.devices[number].first != Unread) {
                    library.SetDeviceInt(number, DeviceParameter::EnableState,
                                         c.devices[number].first);
                    library.SetDeviceInt(number, DeviceParameter::AbortState,
                                         c.devices[number].second);
                }
            }
            window.Send(WM_TIMER, 3);
            SCOPED_TRACE(&c - cases);
            EXPECT_EQ(hand.IsEnabled(IdEnable), c.enable);
            EXPECT_EQ(hand.IsEnabled(IdAbort), c.abort);
        }
    });
}

TEST_F(MainDialog, TheStoredImagesAreOfferedOnceAndWalked)
{
    Store(5, "Date=24.11.2026;");
    Store(6);
    hand.WhenBox("Found old images! Go to delete loop?", IDYES);
    hand.WhenBox("Found old image:\n  UserID: someone\n  Date: 24.11.2026\n\nRemove image?", IDOK);
    hand.WhenBox("Found old image:\n  UserID: someone\n\nRemove image?", IDCANCEL);
    Run([&] {
        ASSERT_TRUE(hand.Wait([&] { return hand.Boxes().size() == 3; }));
        ASSERT_TRUE(hand.Wait([&] { return hand.IsEnabled(IdEnable); }));
        EXPECT_EQ(library.CallsOf({"TarnRemove"}), Strings{"TarnRemoveImage \"\" 5"});
        ASSERT_TRUE(window.currentImage);
        EXPECT_EQ(window.currentImage->m_imageId, 6u);
        EXPECT_EQ(hand.Boxes()[1].style, MB_OKCANCEL | MB_TOPMOST);
    });
}

TEST_F(MainDialog, ArmingOpensThePreviewAndAbortClosesIt)
{
    Run([&] {
        library.calls.clear();
        window.EnableCapture();
        EXPECT_EQ(library.CallsOf({"TarnEnable", "QuilletShow"}),
                  (Strings{"TarnEnableCapture 0 \"My ID\" 0", "QuilletShow 77 1"}));
        window.AbortCapture();
        EXPECT_EQ(library.CallsOf({"TarnDisable", "QuilletClose"}),
                  (Strings{"TarnDisableCapture 0 1", "QuilletClose 77"}));

        library.calls.clear();
        library.Fail(Export::EnableCapture, 0x100007);
        hand.WhenBox("Warning number: 7\nResult 0x100007", IDOK);
        window.EnableCapture();
        EXPECT_EQ(library.CallsOf({"TarnDisable", "Quillet"}), Strings{"TarnDisableCapture 0 0"});
        EXPECT_FALSE(hand.IsEnabled(IdEnable));
    });
}

TEST_F(MainDialog, EventsLeadToTheirReactions)
{
    Run([&] {
        hand.Wait([&] { return hand.IsEnabled(IdEnable); });
        SetStates(4, 1, 0);
        window.Send(WM_TIMER, 3);
        Event(EventArmed);
        EXPECT_EQ(hand.Title(), "Ready to take image");
        Event(EventCaptureDone);
        EXPECT_EQ(hand.Title(), "TarnTest");
        EXPECT_TRUE(hand.IsEnabled(IdAbort));
        Event(EventCaptureDisabled);
        EXPECT_FALSE(hand.IsEnabled(IdAbort));
        window.imageNumber = 9;
        Event(EventNewSeries);
        EXPECT_EQ(window.seriesNumber, 2u);
        EXPECT_EQ(window.imageNumber, 1u);
        hand.Click(IdAutoSaveImages);
        EXPECT_EQ(window.seriesNumber, 1u);
        library.calls.clear();
        for (const std::uint32_t ignored : {5u, 8u, 16u, 18u, 0x010002u}) {
            Event(ignored);
        }
        EXPECT_EQ(library.calls, None);
        Event(EventPreviewEnds);
        EXPECT_EQ(library.CallsOf({""}).size(), 1u);
        hand.WhenBox("Error number: 2\n", IDOK); // the low bits alone would be event 2
        Event(0x200002);
    });
}

// The library's event that the sensor is idle comes meanwhile and writes the title, too.
TEST_F(MainDialog, ASlowSaveIsToldInTheTitle)
{
    ForgetOldImages();
    Run([&] {
        hand.Click(IdAutoSaveImages);
        perfFrequency = 1;
        Store(1);
        Event(EventImageReady, 1);
        Event(EventCaptureDone);
        EXPECT_TRUE(hand.Wait([&] { return hand.Title().ends_with(" s)"); })) << hand.Title();
        EXPECT_TRUE(hand.Title().starts_with("TarnTest (saving took "));
    });
}

TEST_F(MainDialog, TheTitleOfAnArmedSensorStaysWhenTheWindowIsDrawnAgain)
{
    Store(1);
    ForgetOldImages();
    Run([&] {
        hand.WhenBox(Question, IDNO);
        Event(EventImageReady, 1);
        Event(EventArmed);
        hand.Resize(40, 40);
        hand.Serve(50);
        window.Send(WM_COMMAND, IdInspect);
        EXPECT_EQ(window.GetWindowText(), "Ready to take image");
        window.Inspector().Send(WM_CLOSE);
    });
}

TEST_F(MainDialog, ResultsThatComeWhileOneIsShownDoNotPileUp)
{
    hand.WhenBox("Info number: 1\n", IDOK, [&] {
        for (std::uint32_t i = 2; i <= 1000; ++i) {
            Event(0x300000 + i);
        }
    });
    hand.WhenBox("Info number: 1000\nResult 0x3003E8\n\nEarlier results not shown: 998", IDOK,
                 [&] { Event(0x300007); });
    hand.WhenBox("Info number: 7\nResult 0x300007", IDOK);
    // With "Auto enable" every image may bring one.
    for (std::uint32_t id = 1; id <= 4; ++id) {
        Store(id);
    }
    ForgetOldImages();
    library.Fail(Export::EnableCapture, 0x200009, ScriptedLibrary::Always);
    hand.WhenBox("Error number: 9", IDOK, [&] {
        for (std::uint32_t id = 2; id <= 4; ++id) {
            Event(EventImageReady, id);
        }
    });
    hand.WhenBox("Earlier results not shown: 2", IDOK);
    Run([&] {
        Event(0x300001);
        hand.Click(IdAutoEnable);
        Event(EventImageReady, 1);
    });
    EXPECT_EQ(hand.Boxes().size(), 5u);
}

TEST_F(MainDialog, AnImageLeavesTheStoreWhenSavedOrOnYes)
{
    const struct
    {
        bool save, enable, folderBlocked;
        int answer; // 0: no question
        bool removed;
    } cases[] = {
        {false, false, false, IDYES, true}, {false, false, false, IDNO, false},
        {true, false, false, 0, true},      {false, true, false, 0, true},
        {true, true, false, 0, true},       {true, false, true, IDNO, false},
        {true, true, true, IDNO, false},    {true, true, true, IDYES, true},
    };
    ForgetOldImages();
    Run([&] {
        std::uint32_t id = 0;
        for (const auto& c : cases) {
            SCOPED_TRACE(&c - cases);
            Store(++id, "ProgramName=Prog A:1;kV=60;mA=8");
            fs::remove_all(folder);
            if (c.folderBlocked) {
                std::ofstream(folder.parent_path()) << "in the way";
            }
            if (hand.IsChecked(IdAutoSaveImages) != c.save) {
                hand.Click(IdAutoSaveImages);
            }
            if (hand.IsChecked(IdAutoEnable) != c.enable) {
                hand.Click(IdAutoEnable);
            }
            if (c.folderBlocked) {
                hand.WhenBox("Invalid path on", IDOK);
            }
            if (c.answer != 0) {
                hand.WhenBox(Question, c.answer);
            }
            library.calls.clear();
            window.imageNumber = id;
            Event(EventImageReady, id);
            Strings expected;
            if (c.removed) {
                expected.push_back("TarnRemoveImage \"\" " + std::to_string(id));
            }
            if (c.enable) {
                expected.push_back("TarnEnableCapture 0 \"My ID\" 0");
            }
            EXPECT_EQ(library.CallsOf({"TarnRemove", "TarnEnable"}), expected);
            EXPECT_EQ(window.imageNumber, id + 1);
            EXPECT_EQ(hand.Title(), "Prog A:1, 60 kV, 8 mA");
            const fs::path file = folder / ("Prog_A_1_1_" + std::to_string(id) + ".Q32");
            EXPECT_EQ(fs::exists(file), c.save && !c.folderBlocked);
            if (fs::exists(file)) {
                EXPECT_EQ(ReadQ32File(file.string().c_str())->m_imageId, id);
            }
            fs::remove_all(folder.parent_path());
        }
    });
}

TEST_F(MainDialog, AnEventWithoutAnImageRemovesNothing)
{
    Run([&] {
        hand.Click(IdAutoEnable);
        hand.Click(IdAutoSaveImages);
        Store(3);
        library.calls.clear();
        library.Fail(Export::GetImage, 0);
        Event(EventImageReady, 3);
        library.Fail(Export::GetImage, 0x200009);
        hand.WhenBox("Error number: 9", IDOK);
        Event(EventImageReady, 3);
        // Its pixels did not come: it is shown gray, and asked about instead of saved.
        library.Break(Export::GetImage, {.noEntries = true});
        hand.WhenBox(Question, IDNO);
        Event(EventImageReady, 3);
        EXPECT_EQ(library.CallsOf({"TarnRemove"}), None);
        EXPECT_EQ(library.CallsOf({"TarnEnable"}).size(), 1u) << "after the image";
        EXPECT_FALSE(fs::exists(folder));
        EXPECT_EQ(window.imageNumber, 2u);
    });
}

TEST_F(MainDialog, EveryWayOutIsTakenInOrderOrRefused)
{
    using Way = std::function<void()>;
    const Strings inOrder = {"TarnClearNotifyWindow", "QuilletClose 0", "TarnClose"};
    const auto closing = [&] { return library.CallsOf({"TarnC", "QuilletC", "TarnDisable"}); };
    const std::pair<std::string, Way> ways[] = {{"Exit", [&] { hand.Click(IdExit); }},
                                                {"Escape", [&] { hand.PressEscape(); }},
                                                {"close button", [&] { hand.CloseWindow(); }},
                                                {"signal", [&] {
                                                     std::raise(SIGTERM);
                                                     hand.Serve(50);
                                                 }}};
    const std::pair<std::string, std::function<void(Window&, const Way&)>> states[] = {
        {"idle", [](Window&, const Way& way) { way(); }},
        {"capturing",
         [&](Window&, const Way& way) {
             SetStates(4, 1, 0);
             way();
         }},
        {"asked",
         [&](Window& open, const Way& way) {
             hand.WhenBox(Question, IDNO, way);
             open.Send(WM_TARN_EVENT, 1, EventImageReady);
         }},
        {"in the settings",
         [&](Window&, const Way& way) {
             hand.WhenDialog("Tolva Settings", way);
             hand.Click(IdSettings);
         }},
        {"opening", [&](Window&, const Way& way) {
             hand.WhenFileDialog("", way);
             hand.Click(IdOpen);
         }}};
    Store(1);
    for (const auto& state : states) {
        for (const auto& way : ways) {
            if (state.first == "in the settings" && way.first == "Exit") {
                continue; // has no such button
            }
            SCOPED_TRACE(state.first + ", " + way.first);
            const bool isSignal = way.first == "signal";
            const bool closes = state.first == "idle" || isSignal;
            Window another;
            previewHandle = 0;
            SetStates(1, 0, 1);
            hand.Run(another, [&] {
                another.KillTimer(2); // of the question about stored images
                library.calls.clear();
                if (state.first == "capturing" && !isSignal) {
                    hand.WhenBox("Can not close during capturing!", IDOK);
                }
                state.second(another, way.second);
                EXPECT_TRUE(hand.Wait([&] { return another.IsWindowVisible() != closes; }));
                Strings expected = closes ? inOrder : None;
                if (isSignal) {
                    expected.insert(expected.begin(), "TarnDisableCapture 0 1");
                }
                EXPECT_EQ(closing(), expected);
                if (!closes) {
                    SetStates(100, 0, 1);
                    library.calls.clear();
                    hand.Click(IdExit);
                    EXPECT_EQ(closing(), inOrder);
                }
            });
        }
    }
}

// The toolkit's own box runs a loop of its own.
TEST_F(MainDialog, EverySignalEndsTheProgramAlsoOverABoxOfTheToolkit)
{
    for (const auto& askToEnd : EndRequests()) {
        Window another;
        library.calls.clear();
        hand.WhenFileDialog("no such.q32");
        hand.WhenBox("File ", IDOK, [&] {
            askToEnd();
            hand.Serve(50);
        });
        hand.Run(another, [&] {
            another.KillTimer(2); // of the question about stored images
            hand.Click(IdOpen);
            EXPECT_TRUE(hand.Wait([&] { return !another.IsWindowVisible(); }));
        });
        EXPECT_EQ(library.CallsOf({"TarnDisable", "TarnClose"}),
                  (Strings{"TarnDisableCapture 0 1", "TarnClose"}));
    }
}

TEST_F(MainDialog, AStormOfEventsLeavesRoomForTheOperator)
{
    using Clock = std::chrono::steady_clock;
    constexpr std::uint32_t Events[] = {0x100005, 0x200005, 0x300005, 99, 2, 17};
    constexpr int All = 100'000;
    std::atomic<int> posted = 0;
    int open = 0, deepest = 0, served = 0;
    Clock::duration worst{};
    // The operator's clicks, in whatever dialog or box is in front.
    const std::function<void(Clock::time_point)> click = [&](Clock::time_point due) {
        worst = std::max(worst, Clock::now() - due);
        ++served;
        const auto next = Clock::now() + std::chrono::milliseconds(1);
        if (posted < All) {
            hand.Later(1, [&click, next] { click(next); });
        }
    };
    hand.WhenEveryBox("number: ", IDOK, [&] {
        deepest = std::max(deepest, ++open);
        hand.Serve(20);
        --open;
    });
    Run([&] {
        std::thread storm([&, to = window.GetSafeHwnd()] {
            while (posted < All) {
                posted += PostMessageA(to, WM_TARN_EVENT, 9, LPARAM{Events[posted % 6]});
            }
        });
        click(Clock::now());
        hand.WhenDialog("Tolva Settings",
                        [&] { EXPECT_TRUE(hand.Wait([&] { return posted > All / 2; }, 60'000)); });
        hand.Wait([&] { return open == 0; });
        window.Send(WM_COMMAND, IdSettings);
        EXPECT_TRUE(hand.Wait([&] { return posted == All && open == 0; }, 60'000));
        storm.join();
    });
    EXPECT_EQ(deepest, 1);
    EXPECT_GT(served, 20);
    EXPECT_LT(worst, std::chrono::milliseconds(500));
    EXPECT_LT(hand.Boxes().size(), All / 100u);
}

TEST_F(MainDialog, FilesAreOpenedOrExplained)
{
    fs::create_directories(folder);
    const std::string good = (folder / "good.q32").string();
    const std::string broken = (folder / "broken.q32").string();
    CImage image(3, 2, 8, 0, 1);
    image.Fill(7);
    image.m_headerText = "ProgramName=Filed";
    ASSERT_TRUE(WriteQ32File(good.c_str(), image));
    std::ofstream(broken) << "no image";
    hand.WhenBox("File " + broken + " is not q32 format", IDOK);
    Run([&] {
        hand.WhenFileDialog("");
        hand.Click(IdOpen);
        EXPECT_FALSE(window.currentImage);
        hand.WhenFileDialog(good);
        hand.Click(IdOpen);
        EXPECT_EQ(hand.Title(), "Filed");
        hand.Drop(broken);
        EXPECT_TRUE(hand.Wait([&] { return hand.Boxes().size() == 1; }));
        ASSERT_TRUE(window.currentImage);
        EXPECT_EQ(window.currentImage->m_width, 3u);
    });
    ASSERT_EQ(hand.Boxes().size(), 1u);
    EXPECT_EQ(hand.Boxes()[0].style, MB_OK | MB_ICONSTOP | MB_TOPMOST);
    EXPECT_EQ(hand.Boxes()[0].caption, "Tarn test");
}

// As names of programs, devices and users.
TEST_F(MainDialog, HostileTextsAreShownAndNothingElse)
{
    const struct
    {
        std::string text;
        const char* seen; // of it, in the report
        bool saved;       // a file may have it in its name
    } cases[] = {
        {std::string(1 << 20, 'L'), "LLLL", false},
        {"bad \xC3\x28 \xFF\xFE", "bad \xEF\xBF\xBD(", true},
        {"bell \x07\x1B[31m\x7F", "bell \xE2\x90\x87\xE2\x90\x9B[31m", true},
        {"<b>bold<b> &amp; <img src=x>", "<b>bold<b> &amp; <img src=x>", true},
        {"right\xE2\x80\xAEto left", "right\xEF\xBF\xBDto left", true},
        {"%1% %s %n {0} \\n", "%1% %s %n {0} \\n", true},
        {"../../outside", "../../outside", false},
    };
    // A name on Windows has none of these.
    const char* const refused = fs::path::preferred_separator == '\\' ? "\x07<\\" : "";
    int saved = 0;
    Run([&] {
        // Old images are asked about once, a second after the start: not between these.
        ASSERT_TRUE(hand.Wait([&] { return hand.IsEnabled(IdEnable); }, 20'000));
        hand.Click(IdAutoSaveImages);
        for (std::uint32_t id = 1; const auto& c : cases) {
            SCOPED_TRACE(c.seen);
            library.devices[1].name = library.devices[1].description = c.text;
            Store(id, "ProgramName=" + c.text + ";Date=" + c.text + ";");
            library.images.back().userId = c.text;
            window.imageNumber = 1;
            const bool isSaved = c.saved && c.text.find_first_of(refused) == std::string::npos;
            saved += isSaved ? 1 : 0;
            if (!isSaved) {
                hand.WhenBox("_1_1.Q32", IDOK);
                hand.WhenBox(Question, IDNO);
            }
            Event(EventImageReady, id++);
            EXPECT_LT(hand.Title().size(), 1000u);
            EXPECT_EQ(library.images.empty(), isSaved);
            Store(id, "Date=" + c.text + ";");
            hand.WhenBox("Found old images!", IDYES);
            hand.WhenBox("Found old image:", IDCANCEL);
            window.CheckStoredImages();
            hand.WhenBox(c.seen, IDOK);
            hand.Click(IdInfo);
            hand.WhenDialog("Tolva Settings", [&] { hand.PressEscape(); });
            hand.Click(IdSettings);
            library.images.clear();
        }
    });
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), saved);
    EXPECT_FALSE(fs::exists(folder / "../../outside_1_1.Q32"));
}
