#pragma once
// The colours of the curves: the test at index 0 of a chart frame (the main test) takes the first,
// the loaded tests the next ones in their order, and the list starts again after its end.

#include <array>
#include <cstdint>
#include <string>

namespace tw {

// 0xRRGGBB.
using TChartColor = uint32_t;

// Ten colours that stay apart from each other on white and in print: blue, red, green, orange,
// purple, brown, magenta, grey, olive, cyan.
inline constexpr std::array<TChartColor, 10> ChartColors{0x1f77b4, 0xd62728, 0x2ca02c, 0xff7f0e,
                                                         0x9467bd, 0x8c564b, 0xe377c2, 0x7f7f7f,
                                                         0xbcbd22, 0x17becf};

// The colour of the test at `index`; a negative index takes the first.
TChartColor ChartColor(int index);

// "#rrggbb".
std::string ColorToHex(TChartColor color);

} // namespace tw
