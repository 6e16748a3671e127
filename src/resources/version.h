// The program's version.
#pragma once

inline constexpr char ProgramVersion[] = TARNTEST_VERSION; // from the project's build description
