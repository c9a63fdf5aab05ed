#include "presentation/ChartColors.h"

#include "services/Format.h"

namespace tw {

TChartColor ChartColor(int index) {
    if (index < 0)
        index = 0;
    return ChartColors[static_cast<size_t>(index) % ChartColors.size()];
}

std::string ColorToHex(TChartColor color) {
    return Format("#%06x", color & 0xffffffu);
}

} // namespace tw
