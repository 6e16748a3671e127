// The program's name and version.
#pragma once

inline constexpr char ProgramName[] = "TarnTest";
inline constexpr char ProgramVersion[] = TARNTEST_VERSION; // from the project's build description
