// The stack of the paint requests being served, which those of every window system stand on.
#pragma once

#include <utility>

// Lives while its window is painted. Request: the class that is derived from this.
template <typename Request, typename Window>
class PaintStack
{
public:
    PaintStack(const PaintStack&) = delete;
    PaintStack& operator=(const PaintStack&) = delete;

    // The request being served for this window, null when there is none or it was taken before.
    static Request* Take(Window window)
    {
        if (sInnermost == nullptr || sInnermost->m_window != window || sInnermost->m_taken) {
            return nullptr;
        }
        sInnermost->m_taken = true;
        return static_cast<Request*>(sInnermost);
    }
    static bool IsEmpty() { return sInnermost == nullptr; }
    bool IsTaken() const { return m_taken; }

protected:
    explicit PaintStack(Window window) : m_window(window), m_outer(std::exchange(sInnermost, this))
    {
    }
    ~PaintStack() { sInnermost = m_outer; }

private:
    static inline PaintStack* sInnermost = nullptr;
    const Window m_window;
    PaintStack* const m_outer;
    bool m_taken = false;
};
