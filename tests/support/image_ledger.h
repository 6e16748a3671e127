// The law of conservation of images, watched from outside the program.
//
// Of every image that the library handed out, at every moment one of these holds:
//
//   it is still in the library's store;
//   a file of its own in the auto-save folder reads back as it: pixels, bits, texts and id;
//   the operator said yes to a question that stood over its picture;
//   the boxes on screen said "Auto enable" without "Auto save images" when it was handed out, and
//   still when it left.
//
// No file that held an image is replaced, emptied or deleted (another name in the folder is as
// good), and no image is passed over in silence: what was handed out is saved or asked about.
#pragma once

#include "device/tarn_abi.h"
#include "image/image.h"
#include "platform/headless/headless.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

// The ids of its images are never used twice, so each has a content of its own. It is told what can
// be seen in the store and on the screen, never the program's own state.
//   stored    the ids in the library's store now
//   discards  the boxes on screen say "Auto enable" without "Auto save images"
class ImageLedger
{
public:
    explicit ImageLedger(std::string folder) : m_folder(std::move(folder)) {}

    // The library gave the program this image; a second time perhaps without texts or pixels.
    void HandedOut(const TarnImageRecord& record, bool discards);

    // The operator answered a question whether to remove an image. lut: the table that stands
    // between samples and gray levels at that time.
    void Answered(const headless::Picture& onScreen, const std::uint8_t* lut, bool isYes);

    // Looks whether images have left. To be called before anything else happens after they may
    // have, and otherwise as often as wanted.
    void Watch(const std::vector<std::uint32_t>& stored, bool discards);

    // At the end of a run of the program: the files are looked at, too, and what was passed over.
    // cutShort: the program was ended from outside, so not every question could be asked.
    void EndRun(bool cutShort);

    // Each break of the law, in order, in a sentence that begins with its kind and a colon.
    const std::vector<std::string>& Breaks() const { return m_breaks; }

private:
    struct Entry
    {
        std::vector<CLinkedPtr<CImage>> versions; // as handed out
        bool isStored = false;
        bool isAskedAbout = false;
        bool discards = false; // said the boxes when it was handed out last
        std::size_t files = 0; // that read back as it
        int run = 0;           // of the program, in which it was handed out last
    };

    void ReadFolder();
    void RequireAccount(std::uint32_t id, const Entry& image, bool discards);
    bool TakeConsent(std::uint32_t id);

    const std::string m_folder;
    std::map<std::uint32_t, Entry> m_images; // by id
    // One for each yes: the images that look as what was on screen. One of them may go.
    std::vector<std::set<std::uint32_t>> m_consents;
    std::vector<std::string> m_breaks;
    int m_run = 1;
};
