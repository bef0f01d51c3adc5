// SPDX-License-Identifier: Apache-2.0
// Cutting a clip: exact frame times, the instants of a strip of thumbnails, and the texts a player shows.
#include <corvane/AudioVisual/AVFileType.h>
#include <corvane/AudioVisual/CMTime.h>
#include <corvane/AudioVisual/CMTimeRange.h>

#include <iostream>

using namespace corvane;

int main()
{
    // Frames of 1001/30000 s: sums stay exact, where seconds in a double would drift.
    const CMTime frame = CMTime::make(1001, 30000);
    CMTime position = CMTime::zero();
    for (int n = 0; n < 30000; ++n)
        position += frame;
    std::cout << "30000 frames last " << position.description() << ", to the tick: " << std::boolalpha
              << (position == CMTime::make(1001, 1)) << '\n';

    // What a player shows beside its slider.
    const CMTime length = timeWithSeconds(3725.5);
    std::cout << "Length " << hhmmssDesc(length) << ", with milliseconds " << hhmmssmsDesc(length) << '\n';
    std::cout << "Half of it is " << hhmmssmsDesc(middle(length)) << '\n';

    // A strip of four thumbnails, each from the middle of a quarter; the file names are safe everywhere.
    const std::string_view extension = pathExtension(AVFileType::mov);
    for (const CMTime& instant : split(length, 4))
        std::cout << "  strip-" << hhmmssmsName(instant) << ".jpg of clip." << extension << '\n';

    // Two takes overlap; the common part is what can be cross-faded.
    const CMTimeRange first = rangeWithSeconds(0, 12);
    const CMTimeRange second = rangeWithSeconds(9.5, 20);
    const CMTimeRange common = first.intersection(second);
    std::cout << "The takes share " << common.duration.seconds() << " s: " << hhmmssDesc(common) << '\n';
    std::cout << "Together they run to " << hhmmssDesc(first.unionWith(second).end()) << '\n';

    // Comparison is exact across timescales; a tolerance is asked for by name.
    const CMTime almost = common.start + CMTime::make(1, 1000);
    std::cout << "A millisecond later is equal: " << (almost == common.start)
              << ", nearly equal: " << isNearlyEqualTo(almost, common.start) << '\n';
    std::cout << "Faster by a quarter it ends at " << hhmmssDesc(length * 0.8) << '\n';

    // Nothing stops the process: what has no value says so.
    std::cout << "Live: " << CMTime::positiveInfinity().description()
              << ", not yet known: " << (CMTime::indefinite() + length).description()
              << ", no time: " << (CMTime::positiveInfinity() - CMTime::positiveInfinity()).description()
              << '\n';
}
