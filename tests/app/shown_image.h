// The main window without a screen that shows an image: what tests of the picture share.
#pragma once

#include "device/tarn_abi.h"
#include "platform/boxes.h"
#include "support/headless_program.h"
#include "support/scripted_library.h"

#include <functional>
#include <gtest/gtest.h>

class ShownImage : public testing::Test
{
protected:
    // 12-bit noise.
    static ScriptedImage Noise(std::uint32_t width, std::uint32_t height, std::uint32_t seed = 1)
    {
        ScriptedImage image;
        image.width = width;
        image.height = height;
        image.pixels.resize(std::size_t{2} * width * height);
        for (std::size_t i = 0; i < image.pixels.size(); ++i) {
            image.pixels[i] =
                static_cast<std::uint8_t>(seed * i * i >> 7 & (i % 2 != 0 ? 0x0F : 0xFF));
        }
        return image;
    }

    void Receive(const ScriptedImage& image)
    {
        library.images = {image};
        program.Send(WM_TARN_EVENT, image.number, EventImageReady);
    }

    // Runs the script with the image shown. Every image is kept.
    void Run(const ScriptedImage& image, const std::function<void()>& script)
    {
        hand.WhenEveryBox("Remove image?", IDNO);
        hand.WhenEveryBox("Found old images!", IDNO);
        hand.Run(program, [&] {
            Receive(image);
            script();
        });
        headless::Reset();
    }

    PicturePlace Place() const
    {
        return PlacePicture(program.currentImage->m_width, program.currentImage->m_height,
                            program.displayImage->m_width, program.displayImage->m_height,
                            program.zoom, program.viewCenterX, program.viewCenterY);
    }
    // The image's column and row from below at the middle of a pixel of the image area.
    double Column(int x) const { return Place().left + (x + 0.5) * Place().scale; }
    double Row(int y) const
    {
        return Place().bottom + (program.displayImage->m_height - 0.5 - y) * Place().scale;
    }

    // With the button that the press is of, and keys held down.
    void Drag(UINT press, POINT from, POINT to, UINT keys = 0)
    {
        const auto move = [&](LONG x, LONG y) {
            hand.Mouse(IdImageArea, WM_MOUSEMOVE, x, y, keys);
        };
        hand.Mouse(IdImageArea, press, from.x, from.y, keys);
        move((from.x + to.x) / 2, (from.y + to.y) / 3);
        move(to.x, to.y);
        hand.Mouse(IdImageArea, press == WM_LBUTTONDOWN ? WM_LBUTTONUP : WM_RBUTTONUP, to.x, to.y,
                   keys);
        move(from.x, from.y);
    }

    ScriptedLibrary library;
    Operator hand;
    HeadlessProgram program;
};
