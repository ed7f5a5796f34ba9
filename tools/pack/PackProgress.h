#pragma once
// How far a pack has come, and its one-line account for a terminal.
#include <cstdint>
#include <string>

namespace orvik::tools::pack {

struct PackProgress {
    std::uint64_t bytesDone = 0, bytesTotal = 0;
    std::uint64_t filesDone = 0, filesTotal = 0;
};

// "1.5 KiB", "12.0 MiB", "3.2 GiB": binary units, one decimal; plain bytes below 1 KiB.
std::wstring SizeText(std::uint64_t bytes);

// "0:07", "12:34", "1:02:03": whole seconds, rounded up.
std::wstring DurationText(double seconds);

// "12.0 MiB of 1.0 GiB, 3 of 40 files, 6.0 MiB/s, 2:49 left" after `seconds` of packing. The
// rate and the time left are left out until any bytes are done in a measurable time.
std::wstring ProgressLine(const PackProgress& progress, double seconds);

}  // namespace orvik::tools::pack
