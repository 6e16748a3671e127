// A life of the program, from its start to its end, in which something goes wrong at one moment;
// the hardware behind it is scripted or simulated. The tables say what may go wrong, and what the
// operator is to notice of it.
#pragma once

#include "support/headless_bench.h"
#include "support/scripted_library.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

// Of the workflow, in the order in which a life passes them. Pairs with momentNames.
enum class Moment
{
    Start,
    StoredLoop,
    Idle,
    Arming,
    Armed,
    Reading,
    Question,
    Settings,
    Closing,
    Count
};
inline constexpr const char* momentNames[] = {"start",         "stored loop",   "idle",
                                              "arming",        "armed",         "reading",
                                              "question open", "settings open", "closing"};

inline constexpr std::uint32_t BlockedFor = 3000; // milliseconds

// What goes wrong: a result instead of the work, an object that is not what was asked for, or time.
struct Kind
{
    const char* name;
    const char* rule; // as the simulator takes it
    std::uint32_t result = 0;
    Fault fault = Fault::None;
    const char* boxText = ""; // the beginning of the box in which the operator sees the result

    bool Blocks() const { return result == 0 && fault == Fault::None; }
};

// What an operator notices of an export that fails, or gives no object, at a moment.
struct Effect
{
    Export which;
    Moment moment;
    int resultBoxes; // when it fails
    int questions;   // more or less than in a healthy life
};

class Life
{
public:
    Life();
    virtual ~Life() { headless::Reset(); }
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    // A life in which begin runs at the moment and end after it. A program that is asked to end
    // meanwhile takes no further part.
    void Run(Moment moment, std::function<void()> begin, std::function<void()> end);
    // What the operator has seen: result boxes that begin so, and more or fewer questions than in a
    // healthy life.
    void ExpectNotices(int resultBoxes, const std::string& text, int questions) const;
    // A life with the fault at that moment, and with what the operator is to see of it.
    void RunWith(Export which, const Kind& kind, Moment moment);
    // One life for each export, fault and moment; returns how many.
    static int RunAll(const std::function<std::unique_ptr<Life>()>& begin);

    bool IsOpen() const { return headless::IsOpen(m_bench); }

protected:
    struct Buttons
    {
        bool enable, abort;
        bool operator==(const Buttons&) const = default;
    };

    // The hardware. Whatever the operator does to it, or waits for, is without a fault but for
    // FinishExposure and Arrive.
    virtual void Break(Export which, const Kind& kind) = 0;
    virtual void Mend() = 0;
    virtual Effect EffectOf(Export which, Moment moment) const;
    virtual Buttons Expected() const = 0;       // after a poll
    virtual bool Works() const { return true; } // the library is open
    virtual void AfterEnable() {}               // was clicked
    virtual void MakeReady() = 0;               // to expose
    virtual void StartExposure() = 0;           // makes ready first
    virtual void FinishExposure() { Arrive(); } // once its image has arrived, if it does
    virtual void Arrive() = 0;                  // an image, without an exposure
    virtual void Disarm() = 0;
    virtual std::size_t GoneImages() const = 0; // that left the store
    virtual void ExpectEnd() = 0;               // nothing outstanding, everything closed

    // What the buttons show after the next poll.
    void ExpectButtons();

    HeadlessBench m_bench;
    Moment m_moment = Moment::Count;
    std::vector<std::string> m_results; // texts of the boxes that show one

private:
    void Use(CDialog& dialog);
    void UseSettings(CDialog& dialog);
    int Answer(const headless::Box& box);
    void At(Moment moment, const std::function<void()>& act);
    void Leave(Moment moment);

    std::function<void()> m_begin, m_end;
    std::size_t m_givenUp = 0; // answers that allow to remove an image
    int m_questions = 0;
    bool m_awaited = false; // the question at whose moment something happens
    bool m_keeps = false;   // whatever is asked about
    bool m_hides = false;   // the fault hides the devices
};
