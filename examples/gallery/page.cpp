// page - the gallery as one HTML file beside its pictures

#include "gallery/page.h"

#include "support/failure.h"
#include "support/png_file.h"

#include "gallery/code.h"
#include "gallery/html.h"
#include "gallery/style.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <system_error>
#include <tuple>
#include <utility>

namespace examples
{

namespace
{

// Pictures up to this width fit on a telephone.
constexpr int narrow = 352;

constexpr const char *page_text = R"(<!DOCTYPE html>
<html lang="en" data-live="off">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<link rel="icon" href="data:,">
<title>TESKAShared gallery</title>
<style>{style}</style>
</head>
<body>
<div class="colour-bar" aria-hidden="true"><i></i><i></i><i></i><i></i><i></i><i></i><i></i></div>
<header>
<h1>TESKAShared <span>gallery</span></h1>
{contents}
</header>
<main>
{sections}
</main>
<script>{script}</script>
<footer>
<p>Made in one run by the program <code>gallery</code>, the library's example. Every picture and every figure on
this page comes from that run. Select a picture to open it at full resolution.</p>
</footer>
</body>
</html>
)";

std::string contents_list(const std::vector<section> &sections)
{
    // A list of one says nothing.
    if (sections.size() < 2)
        return {};
    std::string items;
    for (const section &one : sections)
        items += expanded("<li><a href=\"#{id}\">{title}</a></li>", {{"id", one.id}, {"title", escaped(one.title)}});
    return "<nav><ol>" + items + "</ol></nav>";
}

std::string section_text(const section &one)
{
    return expanded("<section id=\"{id}\">\n<h2>{title}</h2>\n{html}\n</section>\n",
                    {{"id", one.id}, {"title", escaped(one.title)}, {"html", one.html}});
}

}  // namespace

section_folder::section_folder(const std::filesystem::path &output, std::string id)
    : output_(output), folder_(output / id), id_(std::move(id))
{
    std::error_code error;
    std::filesystem::create_directories(folder_, error);
    if (error)
        throw failure("cannot make the folder " + folder_.string() + ": " + error.message());
}

std::string section_folder::image(const std::string &name, const picture &shown, const std::string &alt) const
{
    write_png(folder_ / (name + ".png"), shown);
    return expanded(R"(<a href="{at}"><img src="{at}" width="{w}" height="{h}" alt="{alt}"></a>)",
                    {{"at", address(name)},
                     {"w", std::to_string(shown.width)},
                     {"h", std::to_string(shown.height)},
                     {"alt", escaped(alt)}});
}

std::string section_folder::figure(const std::string &name, const picture &shown, const std::string &alt,
                                   const std::string &caption) const
{
    return framed(image(name, shown, alt), caption);
}

section_folder section_folder::made_by(const std::string &file, const std::string &part) const
{
    section_folder made = *this;
    made.code_ = write_code(output_, file, part);
    return made;
}

std::string section_folder::framed(const std::string &content, const std::string &caption) const
{
    return "<figure>" + content + "\n<figcaption>" + caption + " " + code_link() + "</figcaption></figure>\n";
}

std::string section_folder::code_link() const
{
    return code_.empty() ? "" : "<a class=\"code\" href=\"" + code_ + "\">The code</a>";
}

std::string section_folder::pixels(const std::string &name, const picture &shown, const std::string &alt,
                                   const std::string &caption, int magnification, const scale &across, const scale &up,
                                   const std::string &over) const
{
    write_png(folder_ / (name + ".png"), shown);
    std::string numbers;
    for (const auto &[along, kind, side] : {std::tuple{across, "x", "left"}, {up, "y", "bottom"}})
        for (double at = std::ceil(along.lo / along.step) * along.step; along.step > 0 && at <= along.hi;
             at += along.step)
            numbers += expanded(R"(<span class="{kind}" style="{side}:{place}%">{value}</span>)",
                                {{"kind", kind},
                                 {"side", side},
                                 {"place", decimals(100 * (at - along.lo) / (along.hi - along.lo), 2)},
                                 {"value", decimals(at == 0 ? 0 : at, along.step < 1 ? 1 : 0)}});
    const char *const room = shown.width <= narrow ? "" : magnification > 1 ? " large squares" : " large";
    const std::string link = expanded(
        R"(<a href="{at}" style="--w:{w};--k:{k}"><img class="pixels{room}" src="{at}" width="{w}" height="{h}"
alt="{alt}"></a>)",
        {{"at", address(name)},
         {"w", std::to_string(shown.width)},
         {"h", std::to_string(shown.height)},
         {"k", std::to_string(std::max(2, magnification))},
         {"room", room},
         {"alt", escaped(alt)}});
    return framed(
        expanded(
            R"(<div class="whole"><div class="{kind}">{link}{over}{numbers}</div></div>)",
            {{"kind", numbers.empty() ? "bare" : "bare axes"}, {"link", link}, {"over", over}, {"numbers", numbers}}),
        caption);
}

void write_page(const std::filesystem::path &output, const std::vector<section> &sections)
{
    std::string texts;
    for (const section &one : sections)
        texts += section_text(one);
    const auto file = output / "index.html";
    std::ofstream stream(file, std::ios::binary);
    stream << expanded(
        page_text,
        {{"style", page_style}, {"script", page_script}, {"contents", contents_list(sections)}, {"sections", texts}});
    stream.close();
    if (!stream)
        throw failure("cannot write " + file.string() + ": " + std::generic_category().message(errno));
}

}  // namespace examples
