// pictures - a solid of colours, shaded, sliced and as a page that turns it

#include "support/failure.h"

#include "gamut/job.h"
#include "tplane.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <numbers>

namespace examples
{

namespace
{

constexpr double span = 180;  // of a and b and, about, of L, across a picture
constexpr unsigned char paper = 244;

struct view {
    view(double round, double above)
        : cos_r(std::cos(round * std::numbers::pi / 180)), sin_r(std::sin(round * std::numbers::pi / 180)),
          cos_a(std::cos(above * std::numbers::pi / 180)), sin_a(std::sin(above * std::numbers::pi / 180))
    {
    }

    // Right, up, towards the eye.
    [[nodiscard]] colour turned(const colour &lab) const
    {
        const double along = lab[1] * cos_r + lab[2] * sin_r;
        const double across = lab[2] * cos_r - lab[1] * sin_r;
        const double up = lab[0] - 50;
        return {across, up * cos_a - along * sin_a, up * sin_a + along * cos_a};
    }

    double cos_r, sin_r, cos_a, sin_a;
};

// ---- Shading --------------------------------------------------------------------------------------------------------

double edge(const colour &a, const colour &b, double x, double y)
{
    return (b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0]);
}

// How much light a face gets, 0 .. 1.
double light_on(const colour &a, const colour &b, const colour &c)
{
    const colour u = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    const colour n = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    const double length = std::hypot(n[0], n[1], n[2]);
    return length == 0 ? 0 : std::max(0.0, (-0.4 * n[0] + 0.6 * n[1] + 0.69 * n[2]) / length);
}

void put(picture &image, int x, int y, const colour &rgb)
{
    for (std::size_t c = 0; c < 3; ++c)
        image.line(y)[3 * x + static_cast<int>(c)] = sample_of(rgb[c]);
}

class painter
{
public:
    explicit painter(int size)
        : image_(size, size, 3), depth_(image_.pixels(), -std::numeric_limits<double>::infinity()), size_(size)
    {
        std::fill(image_.samples.begin(), image_.samples.end(), paper);
    }

    void paint(const face &f, const view &seen)
    {
        std::array<colour, 3> p;
        for (std::size_t i = 0; i < 3; ++i) {
            p[i] = seen.turned(f.corners[i]);
            p[i][0] = size_ * (0.5 + p[i][0] / span);
            p[i][1] = size_ * (0.5 - p[i][1] / span);
            p[i][2] *= size_ / span;
        }
        const colour &a = p[0], &b = p[1], &c = p[2];
        const double area = edge(a, b, c[0], c[1]);
        if (area == 0)
            return;
        const double light = 0.55 + 0.45 * light_on({a[0], -a[1], a[2]}, {b[0], -b[1], b[2]}, {c[0], -c[1], c[2]});
        const int left = std::max(0, static_cast<int>(std::min({a[0], b[0], c[0]})));
        const int right = std::min(size_ - 1, static_cast<int>(std::max({a[0], b[0], c[0]})) + 1);
        const int top = std::max(0, static_cast<int>(std::min({a[1], b[1], c[1]})));
        const int bottom = std::min(size_ - 1, static_cast<int>(std::max({a[1], b[1], c[1]})) + 1);
        for (int y = top; y <= bottom; ++y)
            for (int x = left; x <= right; ++x) {
                const double w[] = {edge(b, c, x, y) / area, edge(c, a, x, y) / area, edge(a, b, x, y) / area};
                if (w[0] < 0 || w[1] < 0 || w[2] < 0)
                    continue;
                double &nearest = depth_[static_cast<std::size_t>(y * size_ + x)];
                const double z = w[0] * a[2] + w[1] * b[2] + w[2] * c[2];
                if (z <= nearest)
                    continue;
                nearest = z;
                colour lab;
                for (std::size_t i = 0; i < 3; ++i)
                    lab[i] = w[0] * f.corners[0][i] + w[1] * f.corners[1][i] + w[2] * f.corners[2][i];
                colour rgb = screen_of_lab(lab);
                for (double &v : rgb)
                    v = std::clamp(v, 0.0, 1.0) * light;
                put(image_, x, y, rgb);
            }
    }

    picture take() { return std::move(image_); }

private:
    picture image_;
    std::vector<double> depth_;
    int size_;
};

// ---- Slices ---------------------------------------------------------------------------------------------------------

// Full colour where the press prints, pale grey elsewhere, the grid of the axes over both.
picture sliced(const gamut &solid, const TPlane &plane, int height)
{
    picture image(plane.W(), height, 3);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < plane.W(); ++x) {
            colour lab;
            plane.GetLab(x, y, lab.data(), false);
            const bool prints = lab[0] >= 0 && lab[0] <= 100 && solid.holds(lab);
            put(image, x, y, prints ? screen_of_lab(lab) : colour{0.93, 0.93, 0.92});
        }
    int count = 0;
    int steps = 0;
    const auto darken = [&](int x, int y) {
        if (x >= 0 && y >= 0 && x < image.width && y < image.height)
            for (int c = 0; c < 3; ++c) {
                unsigned char &sample = image.line(y)[3 * x + c];
                sample = static_cast<unsigned char>(sample * 3 / 4);
            }
    };
    const int *across = plane.GetXGridPoints(&count, &steps);
    for (int i = 0; i < count; ++i)
        for (int y = 0; y < height; ++y)
            darken(across[i], y);
    const int *down = plane.GetYGridPoints(&count, &steps);
    for (int i = 0; i < count; ++i)
        for (int x = 0; x < image.width; ++x)
            darken(x, down[i]);
    return image;
}

// ---- The page that turns --------------------------------------------------------------------------------------------

// The page paints a triangle in one colour: large ones in parts.
void write_evenly_coloured(const face &f, std::ostream &page)
{
    constexpr double large = 14;
    std::size_t longest = 0;
    double length = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        const colour &p = f.corners[i], &q = f.corners[(i + 1) % 3];
        const double here = std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
        if (here > length) {
            length = here;
            longest = i;
        }
    }
    const colour &p = f.corners[longest], &q = f.corners[(longest + 1) % 3], &r = f.corners[(longest + 2) % 3];
    if (length > large) {
        const colour half = {(p[0] + q[0]) / 2, (p[1] + q[1]) / 2, (p[2] + q[2]) / 2};
        write_evenly_coloured({{p, half, r}}, page);
        write_evenly_coloured({{half, q, r}}, page);
        return;
    }
    page << "[";
    colour middle{};
    for (const colour &corner : f.corners)
        for (std::size_t i = 0; i < 3; ++i) {
            page << corner[i] << ",";
            middle[i] += corner[i] / 3;
        }
    const colour rgb = screen_of_lab(middle);
    page << "\"rgb(" << int{sample_of(rgb[0])} << "," << int{sample_of(rgb[1])} << "," << int{sample_of(rgb[2])}
         << ")\"],\n";
}

}  // namespace

// ---- All pictures ---------------------------------------------------------------------------------------------------

std::array<double, 2> place_in_view(const colour &lab, double round, double above, int size)
{
    const colour turned = view(round, above).turned(lab);
    return {size * (0.5 + turned[0] / span), size * (0.5 - turned[1] / span)};
}

picture shaded(const gamut &solid, double round, double above, int size)
{
    painter canvas(size);
    const view seen(round, above);
    for (const face &f : solid.faces())
        canvas.paint(f, seen);
    return canvas.take();
}

picture slice_of_lightness(const gamut &solid, double lightness, int size)
{
    return sliced(solid, TPlane(size, size, TPlane::ConstLPlane, lightness, -125, 125, -125, 125), size);
}

picture slice_of_hue(const gamut &solid, double hue, int size)
{
    const int height = (size - 1) * 2 / 5 + 1;
    return sliced(solid, TPlane(size, height, TPlane::ConstHuePlane, hue, -125, 125, 0, 100), height);
}

void write_turning_page(const gamut &solid, const std::filesystem::path &file)
{
    std::ofstream page(file);
    page << R"(<!doctype html><html lang="en"><meta charset="utf-8"><meta name="viewport" content="width=device-width">
<title>The colours of a press</title>
<style>:root{color-scheme:light dark}body{margin:0;font:1rem system-ui,sans-serif;background:#f4f4f4;color:#333}
canvas{display:block;width:100vw;height:100vh;cursor:grab;touch-action:none}p{position:fixed;left:1rem;top:.5rem;margin:0}
@media(prefers-color-scheme:dark){body{background:#1b1b1d;color:#ccc}}</style>
<p>The colours of a press in CIELAB. Drag to turn; arrow keys work too.</p><canvas tabindex="0"></canvas>
<script>
// One face: three corners L, a, b, and its colour.
const faces = [
)";
    page.precision(4);
    for (const face &f : solid.faces())
        write_evenly_coloured(f, page);
    page << R"(];
const canvas = document.querySelector("canvas"), pen = canvas.getContext("2d");
let round = 0.6, above = 0.5;
function draw() {
  const ratio = devicePixelRatio || 1, w = canvas.width = innerWidth * ratio, h = canvas.height = innerHeight * ratio;
  const scale = Math.min(w, h) / 190, cr = Math.cos(round), sr = Math.sin(round), ca = Math.cos(above), sa = Math.sin(above);
  const turned = faces.map(f => {
    const p = [0, 3, 6].map(i => {
      const along = f[i + 1] * cr + f[i + 2] * sr, across = f[i + 2] * cr - f[i + 1] * sr, up = f[i] - 50;
      return [w / 2 + scale * across, h / 2 - scale * (up * ca - along * sa), up * sa + along * ca];
    });
    return {p, z: p[0][2] + p[1][2] + p[2][2], c: f[9]};
  });
  turned.sort((s, t) => s.z - t.z);
  for (const {p, c} of turned) {
    pen.beginPath();
    for (const [x, y] of p) pen.lineTo(x, y);
    pen.closePath();
    pen.fillStyle = pen.strokeStyle = c;
    pen.fill();
    pen.stroke();
  }
}
function turn(dx, dy) {
  round -= dx / 150;
  above = Math.max(-1.57, Math.min(1.57, above + dy / 150));
  draw();
}
canvas.onpointerdown = e => canvas.setPointerCapture(e.pointerId);
canvas.onpointermove = e => { if (e.buttons) turn(e.movementX, e.movementY); };
onkeydown = e => turn(15 * ((e.key == "ArrowRight") - (e.key == "ArrowLeft")), 15 * ((e.key == "ArrowDown") - (e.key == "ArrowUp")));
onresize = draw;
draw();
</script></html>
)";
    if (!page.flush())
        throw failure("cannot write " + file.string());
}

}  // namespace examples
