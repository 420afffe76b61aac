// style - the look of the gallery

#ifndef EXAMPLES_STYLE_H
#define EXAMPLES_STYLE_H

namespace examples
{

extern const char *const page_style;

// What turns pairs of pictures into one with a slider; without it they stand side by side.
extern const char *const page_script;

}  // namespace examples

#endif
