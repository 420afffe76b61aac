// html - small pieces of page text

#ifndef EXAMPLES_HTML_H
#define EXAMPLES_HTML_H

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace examples
{

// Text made safe between tags and inside quoted attributes.
std::string escaped(std::string_view text);

using mark = std::pair<std::string_view, std::string>;

// The pattern with every {name} replaced by its value; values are put in as they are. A name that has no value is a
// mistake of the page's author and throws std::logic_error. Braces around anything but a name stand for themselves.
std::string expanded(std::string_view pattern, std::initializer_list<mark> marks);

// 0.4637 with two digits: "0.46".
std::string decimals(double value, int digits);

// 83521: "83 521", with narrow blanks that do not break.
std::string grouped(long value);

}  // namespace examples

#endif
