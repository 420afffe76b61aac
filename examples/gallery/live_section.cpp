// live_section - the library in the reader's browser: its own tables, a picture of the reader's
//
// The section stands on the pictures of the native run. Where the folder with the compiled library is given, its scripts
// are copied beside the page and take over when they run.

#include "support/colour_engine.h"
#include "support/failure.h"
#include "support/png_file.h"
#include "support/progress.h"

#include "convex_hull.h"
#include "gallery/html.h"
#include "gallery/sections.h"
#include "live.h"
#include "separation/colour_table.h"

#include <cmath>
#include <fstream>
#include <sstream>

namespace examples
{

namespace
{

constexpr int press_points = 17;
constexpr int screen_points = 13;
constexpr int hull_steps = 9;

// Samples as text, the low byte of each first.
std::string base64_of(const std::vector<unsigned short> &samples)
{
    static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    unsigned held = 0;
    int bits = 0;
    const auto put = [&](unsigned byte) {
        held = held << 8 | byte;
        for (bits += 8; bits >= 6; bits -= 6)
            text += digits[held >> (bits - 6) & 63];
    };
    for (const unsigned short sample : samples) {
        put(sample & 255u);
        put(sample >> 8u);
    }
    if (bits > 0)
        text += digits[held << (6 - bits) & 63];
    while (text.size() % 4 != 0)
        text += '=';
    return text;
}

// All vertices of a grid, input 0 slowest, through a transform of 16-bit pixels.
std::vector<unsigned short> baked(const transform &through, int inputs, int outputs, int points)
{
    int vertices = 1;
    for (int i = 0; i < inputs; ++i)
        vertices *= points;
    std::vector<unsigned short> in(static_cast<std::size_t>(vertices) * static_cast<std::size_t>(inputs));
    std::vector<unsigned short> out(static_cast<std::size_t>(vertices) * static_cast<std::size_t>(outputs));
    for (int vertex = 0; vertex < vertices; ++vertex) {
        int rest = vertex;
        for (int i = inputs; i-- > 0; rest /= points)
            in[static_cast<std::size_t>(vertex * inputs + i)] =
                static_cast<unsigned short>((rest % points * 65535 * 2 + points - 1) / (2 * (points - 1)));
    }
    through.run(in.data(), out.data(), vertices);
    return out;
}

std::string table_text(const char *name, int inputs, int outputs, int points, const std::vector<unsigned short> &grid)
{
    return expanded("\"{name}\":{\"inputs\":{inputs},\"outputs\":{outputs},\"points\":{points},\"grid\":\"{grid}\"}",
                    {{"name", name},
                     {"inputs", std::to_string(inputs)},
                     {"outputs", std::to_string(outputs)},
                     {"points", std::to_string(points)},
                     {"grid", base64_of(grid)}});
}

using owned_hull = foreign<convex_hull, convex_hull_kill>;

// Corners and faces of what the press prints; corners with two digits, as the page gets them.
std::string hull_text(const transform &to_lab)
{
    std::vector<unsigned short> inks = {};
    const int colours = hull_steps * hull_steps * hull_steps * hull_steps;
    for (int i = 0; i < colours; ++i)
        for (int at = i, ink = 0; ink < 4; ++ink, at /= hull_steps)
            inks.push_back(static_cast<unsigned short>(at % hull_steps * 65535 / (hull_steps - 1)));
    std::vector<double> lab(static_cast<std::size_t>(colours) * 3);
    to_lab.run(inks.data(), lab.data(), colours);
    const owned_hull hull(convex_hull_new());
    if (!hull || convex_hull_add_points(hull.get(), lab.data(), colours) != 0 || convex_hull_construct(hull.get()) != 0)
        throw failure("the colours of the press enclose nothing");

    std::ostringstream corners, faces;
    for (int i = 0; i < convex_hull_get_nr_vertices(hull.get()); ++i) {
        double at[3];
        int number;
        convex_hull_get_vertex(hull.get(), i, at, &number);
        for (const double &value : at)
            corners << (i > 0 || &value != at ? "," : "") << std::round(value * 100) / 100;
    }
    for (int i = 0; i < convex_hull_get_nr_faces(hull.get()); ++i) {
        int corner[3];
        convex_hull_get_face(hull.get(), i, corner);
        faces << (i > 0 ? "," : "") << '[' << corner[0] << ',' << corner[1] << ',' << corner[2] << ']';
    }
    return "\"hull\":[" + corners.str() + "],\"faces\":[" + faces.str() + "]";
}

void write_file(const std::filesystem::path &path, const std::string &bytes)
{
    std::ofstream stream(path, std::ios::binary);
    stream << bytes;
    stream.close();
    if (!stream)
        throw failure("cannot write " + path.string());
}

void write_grid(const std::filesystem::path &path, const std::vector<unsigned short> &grid)
{
    write_file(path, std::string(reinterpret_cast<const char *>(grid.data()), 2 * grid.size()));
}

constexpr const char *text =
    R"(<p class="lead">Below is a photograph and its proof. With a browser that runs WebAssembly
the page does the work itself: the library, compiled for it, sends any picture to the press and back.</p>
<div class="pair live-native">
{photograph}{proof}</div>
<p id="live-why" class="live-why"></p>
<div class="live-controls live-tool" hidden>
<div class="live-stage"><canvas id="live-before" width="16" height="16" role="img" aria-label="The picture as it is"></canvas>
<canvas id="live-after" width="16" height="16" tabindex="0" role="application"
aria-label="The picture as it prints; arrow keys choose a colour, Enter asks whether it prints"></canvas><i id="live-line"></i></div>
<label class="live-wide">Before and after <input id="live-divide" type="range" min="0" max="100" value="50" data-name="Divided at"></label>
<div class="live-panel">
<div class="live-inks">
{sliders}</div>
<div>
<button type="button" id="live-drop">Choose a picture, or drop one here</button>
<input id="live-file" type="file" accept="image/png,image/jpeg,image/webp" aria-label="Choose a picture" tabindex="-1" hidden>
<p id="live-note"></p>
<p id="live-speed" role="status" aria-live="polite"></p>
<p><span id="live-swatch" aria-hidden="true"></span> <span id="live-colour" role="status" aria-live="polite">Select a
colour in the picture to learn whether it prints.</span></p>
<p class="live-small">Nothing leaves this page. The sliders scale each ink; with less black generation, the three colours
print the black instead.</p>
</div>
</div>
<figure><canvas id="live-solid" class="pixels" width="560" height="420" tabindex="0" role="application"
aria-label="The colours that print, as a solid; arrow keys turn it, plus and minus scale it"></canvas>
<figcaption><b>What prints, and what the screen shows.</b> The solid is the convex hull of what this press prints in
CIELAB, the wire around it the colours of an sRGB screen. Turn it with the pointer or the arrow keys. {code}</figcaption></figure>
</div>
)";

std::string slider(const char *id, const char *name)
{
    return expanded(
        R"(<label>{name} <output>100 %</output><input id="live-{id}" type="range" min="0" max="100" value="100"
data-name="{name}"></label>
)",
        {{"id", id}, {"name", name}});
}

}  // namespace

section live_section(const gallery_inputs &inputs)
{
    colour_engine engine;
    const profile press = engine.open_press(inputs.profile), screen = engine.srgb(), lab = engine.lab();
    const section_folder folder = section_folder(inputs.output, "live").made_by("apps/live/live.c", "Tables");
    const std::vector<unsigned short> press_grid =
        baked(engine.connect({screen, TYPE_RGB_16, press, TYPE_CMYK_16, INTENT_PERCEPTUAL}, evaluation::direct), 3, 4,
              press_points);
    const std::vector<unsigned short> screen_grid = baked(
        engine.connect({press, TYPE_CMYK_16, screen, TYPE_RGB_16, INTENT_RELATIVE_COLORIMETRIC}, evaluation::direct), 4,
        3, screen_points);
    write_grid(folder.file("press.grid"), press_grid);
    write_grid(folder.file("screen.grid"), screen_grid);
    write_file(folder.file("live-data.js"),
               "var TESKA_LIVE_DATA={" + table_text("press", 3, 4, press_points, press_grid) + "," +
                   table_text("screen", 4, 3, screen_points, screen_grid) + "," +
                   hull_text(engine.connect({press, TYPE_CMYK_16, lab, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC},
                                            evaluation::direct)) +
                   ",\"native\":\"" + live_self_test() + "\"};\n");

    // The picture on its way, by the same calls as in the page.
    const picture photograph = read_png(inputs.photo);
    picture proof = photograph;
    void *to_press = live_table_new(3, 4, press_points), *to_screen = live_table_new(4, 3, screen_points);
    if (to_press == nullptr || to_screen == nullptr)
        throw failure(live_error());
    live_table_set(to_press, press_grid.data(), static_cast<int>(press_grid.size()));
    live_table_set(to_screen, screen_grid.data(), static_cast<int>(screen_grid.size()));
    const int pixels = photograph.width * photograph.height;
    std::vector<unsigned char> plates(static_cast<std::size_t>(pixels) * 4);
    live_table_run(to_press, photograph.samples.data(), 3, plates.data(), 4, pixels);
    live_table_run(to_screen, plates.data(), 4, proof.samples.data(), 3, pixels);
    live_table_kill(to_press);
    live_table_kill(to_screen);

    std::string scripts;
    if (!inputs.live.empty()) {
        for (const char *name : {"teska-live.js", "live-page.js"})
            std::filesystem::copy_file(inputs.live / name, folder.file(name),
                                       std::filesystem::copy_options::overwrite_existing);
        for (const char *name : {"teska-live.js", "live-data.js", "live-page.js"})
            scripts += expanded("<script src=\"live/{name}\" defer></script>\n", {{"name", name}});
    }
    std::string sliders;
    for (const auto &[id, name] :
         {std::pair{"cyan", "Cyan"}, std::pair{"magenta", "Magenta"}, std::pair{"yellow", "Yellow"},
          std::pair{"black", "Black"}, std::pair{"generation", "Black generation"}})
        sliders += slider(id, name);
    return {"live", "Print a picture of your own", "",
            expanded(text, {{"photograph",
                             folder.figure("photograph", photograph, "The photograph", "<b>The photograph.</b>")},
                            {"proof", folder.figure("proof", proof, "The photograph as it prints",
                                                    "<b>The proof</b>, made by the native library.")},
                            {"code", folder.made_by("apps/live/live.c", "Colours").code_link()},
                            {"sliders", sliders}}) +
                scripts};
}

}  // namespace examples
