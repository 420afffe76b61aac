// page - the gallery as one HTML file beside its pictures

#include "gallery/page.h"

#include "support/failure.h"
#include "support/png_file.h"

#include "gallery/html.h"
#include "gallery/style.h"

#include <cerrno>
#include <fstream>
#include <system_error>
#include <utility>

namespace examples
{

namespace
{

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
<header>
<div class="colour-bar" aria-hidden="true"><i></i><i></i><i></i><i></i><i></i><i></i><i></i></div>
<h1>TESKAShared <span>gallery</span></h1>
{contents}
</header>
<main>
{sections}
</main>
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
    : folder_(output / id), id_(std::move(id))
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
    return "<figure>" + image(name, shown, alt) + "\n<figcaption>" + caption + "</figcaption></figure>\n";
}

void write_page(const std::filesystem::path &output, const std::vector<section> &sections)
{
    std::string texts;
    for (const section &one : sections)
        texts += section_text(one);
    const auto file = output / "index.html";
    std::ofstream stream(file, std::ios::binary);
    stream << expanded(page_text, {{"style", page_style}, {"contents", contents_list(sections)}, {"sections", texts}});
    stream.close();
    if (!stream)
        throw failure("cannot write " + file.string() + ": " + std::generic_category().message(errno));
}

}  // namespace examples
