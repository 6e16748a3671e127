// The program's icon: a sensor panel that shows a bone.
#pragma once

#include "platform/dialog_template.h"
#include "resources/resource.h"

inline constexpr IconColor MainIconPalette[] = {
    {'#', 0x2B3640}, {'-', 0x8FA3B0}, {'.', 0x0B1016},
    {'+', 0xB9C4CC}, {'o', 0xF2F6F8}, {'g', 0x37D67A},
};

inline constexpr const char* MainIconRows[] = {
    "                                ", "   ##########################   ",
    "   #------------------------#   ", "   #------------------------#   ",
    "   #--.....ooo....oo......--#   ", "   #--....ooooo++oooo.....--#   ",
    "   #--....ooooo++oooo.....--#   ", "   #--....ooooo++oooo.....--#   ",
    "   #--.....ooo++o.oo......--#   ", "   #--......o+++o.........--#   ",
    "   #--......oo++o.........--#   ", "   #--.......o++o.........--#   ",
    "   #--.......o++o.........--#   ", "   #--.......o++o.........--#   ",
    "   #--.......o++oo........--#   ", "   #--.......o+++o........--#   ",
    "   #--.......oo++o........--#   ", "   #--........o++o........--#   ",
    "   #--........o++o........--#   ", "   #--........o++o........--#   ",
    "   #--........o++oo.......--#   ", "   #--.....oooo++oooo.....--#   ",
    "   #--.....oooo++oooo.....--#   ", "   #--.....oooo++oooo.....--#   ",
    "   #--.....oooo++oooo.....--#   ", "   #--....................--#   ",
    "   #------------------------#   ", "   #---gg-------------------#   ",
    "   #---gg--##############---#   ", "   #------------------------#   ",
    "   ##########################   ", "                                ",
};

inline constexpr IconResource MainIcon{IdMainIcon, MainIconPalette, MainIconRows};
