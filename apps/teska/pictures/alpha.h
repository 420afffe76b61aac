// alpha - transparency while pixels are converted
//
// Associated alpha is taken out of the colours before they are converted and put back after; straight alpha and other
// extra samples are copied.

#ifndef TESKA_TOOL_PICTURES_ALPHA_H
#define TESKA_TOOL_PICTURES_ALPHA_H

#include "pictures/picture.h"

#include <string>

namespace tool
{

// What becomes of the extra samples of a page.
struct extra_plan {
    std::vector<int> copied;        // places among the source's extras, in the order of the target's
    int alpha = -1;                 // of the source; -1 when there is none
    bool divide = false;            // colours of the source are associated
    bool multiply = false;          // colours of the target are to be
    bool over_white = false;        // composed over white in the source's space
    std::vector<extra_kind> kinds;  // of the target
};

// said  keep, drop, white; target  of the conversion
extra_plan plan_extras(const page_facts &source, colour_kind target, const std::string &said);

// Makes the colours of source pixels straight, or composes them over white, in place.
void prepare_colours(const page_facts &source, const extra_plan &plan, void *pixels, std::size_t count);

// Copies the extra samples, and associates the target's colours.
void finish_extras(const page_facts &source, const page_facts &target, const extra_plan &plan, const void *in,
                   void *out, std::size_t count);

}  // namespace tool

#endif
