#pragma once
// The bootstrapper's version, which its packing tool shares, for C++ and resource scripts
// alike: ORVIK_VERSION as four numbers (26, 5, 0, 0), ORVIK_VERSION_TEXT as a narrow string
// literal ("26.5.0.0") made from them.
#define ORVIK_VERSION 26, 5, 0, 0

#define ORVIK_VERSION_STRING(text) #text
#define ORVIK_VERSION_DOTTED(a, b, c, d) ORVIK_VERSION_STRING(a.b.c.d)
#define ORVIK_VERSION_JOINED(numbers) ORVIK_VERSION_DOTTED(numbers)
#define ORVIK_VERSION_TEXT ORVIK_VERSION_JOINED(ORVIK_VERSION)
