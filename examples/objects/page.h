// page - a page with a photograph, a graphic and text, and which pixel is of which

#ifndef EXAMPLES_OBJECTS_PAGE_H
#define EXAMPLES_OBJECTS_PAGE_H

#include "support/picture.h"

#include <string>

namespace examples
{

// Kinds of objects: the tags of their pixels, and the tables that convert them.
enum { photograph_object, graphic_object, text_object, object_kinds };
// Nothing is printed here, and there is no table for it.
constexpr unsigned char paper = 255;

struct tagged_page {
    picture colours;  // RGB
    picture tags;     // one channel
};

tagged_page compose_page(const picture &photograph);

// Letters drawn with a round pen: black strokes over what the picture holds. Knows the letters that the page needs.
//
// x, y  upper left corner of the first letter, pixels
// unit  a sixth of the height of a letter, pixels
void draw_text(picture &page, double x, double y, double unit, const std::string &text);

}  // namespace examples

#endif
