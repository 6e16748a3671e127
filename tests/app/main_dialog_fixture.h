// The main window over a scripted library, worked by an operator: what its tests share.
#pragma once

#include "app/main_dialog.h"
#include "platform/boxes.h"
#include "resources/resource.h"
#include "storage/paths.h"
#include "support/scripted_library.h"
#include "support/window_operator.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>

using Strings = std::vector<std::string>;

inline constexpr char Question[] = "Remove image?";
inline const Strings None;

struct Window : CTarnTestDlg
{
    using CTarnTestDlg::autoEnable;
    using CTarnTestDlg::autoSaveImages;
    using CTarnTestDlg::currentImage;
    using CTarnTestDlg::imageNumber;
    using CTarnTestDlg::seriesNumber;
};

class MainDialog : public testing::Test
{
protected:
    MainDialog()
    {
        library.devices = {{0}, {1}};
        SetStates(1, 0, 1);
        std::filesystem::remove_all(folder);
    }

    ~MainDialog() override
    {
        EXPECT_EQ(library.Outstanding(), 0u);
        EXPECT_EQ(library.wrongFrees, 0u);
        std::filesystem::remove_all(folder);
    }

    // The state of both devices, what the Enable and what the Abort button follow.
    void SetStates(std::uint32_t state, std::uint32_t forEnable, std::uint32_t forAbort)
    {
        for (ScriptedDevice& device : library.devices) {
            device.state = state;
            library.SetDeviceInt(device.number, DeviceParameter::EnableState, forEnable);
            library.SetDeviceInt(device.number, DeviceParameter::AbortState, forAbort);
        }
    }

    // Puts an image of 12-bit samples into the store: a ramp from id on, 4 pixels wide.
    void Store(std::uint32_t id, const std::string& header = "ProgramName=P;")
    {
        ScriptedImage image;
        image.number = image.imageId = id;
        image.width = image.height = 4;
        image.pixels.assign(32, 0);
        for (std::size_t i = 0; i < 16; ++i) {
            image.pixels[2 * i] = static_cast<std::uint8_t>(id + i);
            image.pixels[2 * i + 1] = static_cast<std::uint8_t>((id + i) >> 8);
        }
        image.headerText = header;
        image.userId = "someone";
        library.images.push_back(image);
    }

    // For tests that last longer than the second after which old images are asked about.
    void ForgetOldImages()
    {
        library.Fail(Export::GetImageCount, ResultError + 1, ScriptedLibrary::Always);
    }

    void Event(std::uint32_t code, std::uint32_t number = 0)
    {
        window.Send(WM_TARN_EVENT, number, static_cast<LPARAM>(code));
    }

    void Run(const std::function<void()>& script) { hand.Run(window, script); }

    ScriptedLibrary library;
    WindowOperator hand;
    Window window;
    const std::filesystem::path folder = AutoSaveFolder(ProgramFolder(nullptr));
};
