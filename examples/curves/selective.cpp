// selective - a correction of one colour, which leaves all others as they are

#include "support/cie.h"
#include "support/failure.h"
#include "support/foreign.h"

#include "curves/job.h"
#include "vect_lobe.h"

namespace examples
{

selective_results correct_selectively(const picture &photograph)
{
    // Orange in CIELAB: long along its chroma, narrow across it. It becomes redder.
    constexpr colour centre = {55, 55, 52}, chroma = {0, 55, 52}, shift = {0, 8, -24};
    constexpr double along = 55, across = 45;
    const foreign<vect_lobe, vect_lobe_kill> lobe(vect_lobe_new(3, centre.data(), chroma.data(), along, across));
    if (!lobe)
        throw_report();
    selective_results made{photograph, 0, vect_lobe_limit(lobe.get(), shift.data())};
    for (std::size_t i = 0; i < photograph.pixels(); ++i) {
        unsigned char *rgb = &made.corrected.samples[3 * i];
        colour lab = lab_of_screen({rgb[0] / 255.0, rgb[1] / 255.0, rgb[2] / 255.0});
        if (vect_lobe_stretch(lobe.get(), shift.data(), lab.data(), lab.data()) == 0)
            continue;
        ++made.moved;
        for (const double value : screen_of_lab(lab))
            *rgb++ = sample_of(value);
    }
    return made;
}

}  // namespace examples
