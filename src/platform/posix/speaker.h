// The computer's speaker.
#pragma once

#include "platform/types.h"

// A tone, from Start until the object goes. Where the speaker is not accessible there is none.
class SpeakerTone
{
public:
    SpeakerTone();
    ~SpeakerTone(); // ends the tone
    SpeakerTone(const SpeakerTone&) = delete;
    SpeakerTone& operator=(const SpeakerTone&) = delete;

    bool Start(DWORD frequency); // hertz; false when there is no speaker

private:
    bool Send(DWORD frequency);

    int m_speaker;
};
