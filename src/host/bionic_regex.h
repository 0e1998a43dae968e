// bionic's numbering of the regcomp flags. The host's <regex.h> supplies the functions and
// regex_t; these values are what the adaptor hands to regcomp, whatever that header says.
#pragma once

inline constexpr int kBionicRegExtended = 0x1;
inline constexpr int kBionicRegIcase = 0x2;
inline constexpr int kBionicRegNosub = 0x4;
inline constexpr int kBionicRegNewline = 0x8;
