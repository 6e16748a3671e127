// Sends tones to the speaker's event device.
#include "platform/posix/speaker.h"

#include <fcntl.h>
#include <linux/input.h>
#include <unistd.h>

namespace {

constexpr char SpeakerDevice[] = "/dev/input/by-path/platform-pcspkr-event-spkr";

} // namespace

SpeakerTone::SpeakerTone() : m_speaker(open(SpeakerDevice, O_WRONLY | O_CLOEXEC | O_NONBLOCK)) {}

SpeakerTone::~SpeakerTone()
{
    if (m_speaker >= 0) {
        Send(0);
        close(m_speaker);
    }
}

bool SpeakerTone::Start(DWORD frequency)
{
    return m_speaker >= 0 && Send(frequency);
}

bool SpeakerTone::Send(DWORD frequency)
{
    input_event tone{};
    tone.type = EV_SND;
    tone.code = SND_TONE;
    tone.value = static_cast<int>(frequency);
    return write(m_speaker, &tone, sizeof tone) == sizeof tone;
}
