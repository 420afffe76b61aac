// style - the look of the gallery

#ifndef EXAMPLES_STYLE_H
#define EXAMPLES_STYLE_H

namespace examples
{

extern const char *const page_style;

}  // namespace examples

#endif
