// style - the look of the gallery
//
// System fonts, two colour schemes, and one accent: the inks of the colour bar. Pictures always stand on white paper,
// because their colours are judged against it. Measures in rem follow the reader's font size; the columns fold where a
// figure would become narrower than 15 rem.

#include "gallery/style.h"

namespace examples
{

const char *const page_style = R"(
:root {
  color-scheme: light dark;
  --page: #f6f5f2; --card: #ffffff; --text: #1d1f23; --soft: #5c6068; --rule: #dcdad4; --link: #00618f;
  --cyan: #00aeef; --magenta: #ec148d; --yellow: #fff200; --black: #231f20;
}
@media (prefers-color-scheme: dark) {
  :root { --page: #16181c; --card: #1f2228; --text: #e8e8e4; --soft: #a2a6ae; --rule: #363a42; --link: #6cc5f0; }
}
* { box-sizing: border-box; }
html { scroll-behavior: smooth; -webkit-text-size-adjust: 100%; }
body {
  margin: 0; background: var(--page); color: var(--text);
  font: 1.0625rem/1.6 system-ui, "Segoe UI", "Helvetica Neue", "Noto Sans", "DejaVu Sans", sans-serif;
}
header, main, footer { max-width: 76rem; margin: 0 auto; padding: 0 clamp(1rem, 4vw, 3rem); }
.colour-bar { display: flex; height: .5rem; }
.colour-bar i { flex: 1; }
.colour-bar i:nth-child(1) { background: var(--cyan); }
.colour-bar i:nth-child(2) { background: #2e3192; }
.colour-bar i:nth-child(3) { background: var(--magenta); }
.colour-bar i:nth-child(4) { background: #ed1c24; }
.colour-bar i:nth-child(5) { background: var(--yellow); }
.colour-bar i:nth-child(6) { background: #00a651; }
.colour-bar i:nth-child(7) { background: var(--black); }
h1 { margin: 1.5rem 0 0; font-size: 1.0625rem; font-weight: 650; letter-spacing: .01em; }
h1 span { color: var(--soft); font-weight: 400; }
nav ol { display: flex; flex-wrap: wrap; gap: .25rem 1.5rem; margin: .5rem 0 0; padding: 0; list-style: none; }
a { color: var(--link); text-underline-offset: .15em; }
a:focus-visible, input:focus-visible + label { outline: .15rem solid var(--link); outline-offset: .15rem; }
section { padding: clamp(1.5rem, 4vw, 3rem) 0 2rem; }
section + section { border-top: 1px solid var(--rule); }
h2 { margin: 0 0 .75rem; font-size: clamp(1.9rem, 4.6vw, 3.1rem); line-height: 1.12; letter-spacing: -.02em;
     font-weight: 700; text-wrap: balance; }
h3 { margin: 3.5rem 0 .5rem; font-size: 1.5rem; line-height: 1.25; letter-spacing: -.01em; }
p { margin: 0 0 1rem; max-width: 44rem; text-wrap: pretty; }
.lead { font-size: clamp(1.1rem, 1.8vw, 1.3rem); line-height: 1.5; color: var(--soft); max-width: 48rem; }
code { font: .9em ui-monospace, "SF Mono", Menlo, Consolas, "DejaVu Sans Mono", monospace; }

.key-figures { display: grid; grid-template-columns: repeat(auto-fit, minmax(13rem, 1fr)); gap: 1rem; margin: 2rem 0 0; }
.key-figures div { display: flex; flex-direction: column-reverse; justify-content: flex-end; padding: 1rem 1.25rem;
  background: var(--card); border: 1px solid var(--rule); border-top: .25rem solid var(--accent);
  border-radius: .25rem; }
.key-figures div:nth-child(1) { --accent: var(--cyan); }
.key-figures div:nth-child(2) { --accent: var(--magenta); }
.key-figures div:nth-child(3) { --accent: #f5d800; }
.key-figures div:nth-child(4) { --accent: var(--text); }
.key-figures dt { color: var(--soft); font-size: .95rem; line-height: 1.4; }
.key-figures dd { margin: 0; font-size: 2rem; font-weight: 680; line-height: 1.25; letter-spacing: -.02em;
  font-variant-numeric: tabular-nums; white-space: nowrap; }
.key-figures small { font-size: 1rem; font-weight: 500; letter-spacing: 0; }

figure { margin: 0; }
figure img, .press img { display: block; width: 100%; height: auto; background: #fff; }
figure > a, .press { display: block; background: #fff; border: 1px solid var(--rule); border-radius: .25rem;
  overflow: hidden; }
figcaption { margin-top: .6rem; color: var(--soft); font-size: .95rem; line-height: 1.45; }
figcaption b { color: var(--text); }
.pair { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 24rem), 1fr)); gap: 1.75rem 2rem;
  margin-top: 1.5rem; }
.strip { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 264px), 1fr)); gap: 1.25rem;
  margin-top: 1.5rem; }
.exact { grid-template-columns: repeat(auto-fit, minmax(min(100%, 342px), 1fr)); }
.whole { container-type: inline-size; }
.bare { position: relative; width: fit-content; }
.bare > a { display: block; background: #fff; box-shadow: 0 0 0 1px var(--rule); }
.bare img { display: block; height: auto; max-width: none; width: calc(var(--w) * 1px); image-rendering: pixelated; }
.bare .large { width: calc(var(--w) / var(--k) * 1px); image-rendering: auto; }
.bare .large.squares { image-rendering: pixelated; }
@container (min-width: 541px) { .bare .large { width: calc(var(--w) * 1px); image-rendering: pixelated; } }
.axes { margin: .5rem .5rem 1.6rem 2.2rem; }
.axes span { position: absolute; color: var(--soft); font-size: 12px; line-height: 1; font-variant-numeric: tabular-nums; }
.axes .x { top: calc(100% + 6px); transform: translateX(-50%); }
.axes .y { right: calc(100% + 6px); transform: translateY(50%); }
.over { position: absolute; inset: 0; width: 100%; height: 100%; pointer-events: none; font-size: 12px; }
.over path { fill: none; stroke: #1d1f23; stroke-width: 1; } .over text { fill: #1d1f23; }
.code { white-space: nowrap; }
.colour-scale { position: relative; height: 2.6rem; margin-top: .6rem; max-width: 512px; }
.colour-scale i { display: block; height: 1rem; border: 1px solid var(--rule); }
.colour-scale span { position: absolute; white-space: nowrap; top: 1.1rem; transform: translateX(-50%); color: var(--soft); font-size: 13px; }
.colour-scale span:first-of-type { transform: none; } .colour-scale span:last-of-type { transform: translateX(-100%); }
.compare-stage { display: none; position: relative; margin-top: 1.5rem; width: fit-content; max-width: 100%; }
.compare-stage img { display: block; max-width: 100%; height: auto; background: #fff; }
.compare-stage img + img { position: absolute; inset: 0; } .compare-stage label { display: block; }
.compare-stage input { display: block; width: 100%; min-height: 24px; margin: .5rem 0 0; }
.compare-stage input:focus-visible { outline: .15rem solid var(--link); outline-offset: .15rem; }
.compare-line { position: absolute; inset-block: 0; width: 2px; background: #fff; box-shadow: 0 0 3px #000; }
.compare-pictures { position: relative; }
#records { padding-block: 1.5rem 1rem; } details { margin-top: 1.25rem; } summary { cursor: pointer; font-weight: 650; min-height: 24px; }
@media not print { .compared .compare-stage { display: block; } .compared figure > a { display: none; } }
.plates { display: grid; grid-template-columns: 1fr 1fr; gap: 1.25rem; align-content: start; }
.plates b::before, .mixer label::before { content: ""; display: inline-block; width: .7em; height: .7em;
  margin-right: .45em; border-radius: 50%; background: var(--ink); border: 1px solid var(--soft); }
.cyan { --ink: var(--cyan); } .magenta { --ink: var(--magenta); }
.yellow { --ink: var(--yellow); } .black { --ink: var(--black); }

.mixer input { position: absolute; opacity: 0; }
.mixer label { display: inline-block; margin: .75rem .4rem 0 0; padding: .3rem .9rem; border: 1px solid var(--rule);
  border-radius: 2rem; background: var(--card); font-size: .95rem; white-space: nowrap; cursor: pointer; user-select: none; }
.mixer input:not(:checked) + label { color: var(--soft); text-decoration: line-through; }
.mixer input:not(:checked) + label::before { background: none; }
.mixer { display: grid; grid-template-columns: repeat(4, auto) 1fr; position: relative; align-content: start; }
.mixer .press, .mixer figcaption { grid-column: 1 / -1; }
.mixer .press { position: relative; isolation: isolate; order: -1; }
.press img + img { position: absolute; inset: 0; mix-blend-mode: multiply; }
#ink-cyan:not(:checked) ~ .press .cyan, #ink-magenta:not(:checked) ~ .press .magenta,
#ink-yellow:not(:checked) ~ .press .yellow, #ink-black:not(:checked) ~ .press .black { visibility: hidden; }

.scroll { overflow-x: auto; margin: 1.25rem 0 .5rem; background: var(--card); border: 1px solid var(--rule);
  border-radius: .25rem; }
table { border-collapse: collapse; width: 100%; font-size: .97rem; font-variant-numeric: tabular-nums; }
caption { padding: .9rem 1rem .35rem; text-align: left; font-weight: 650; }
caption span { color: var(--soft); font-weight: 400; }
th, td { padding: .5rem 1rem; text-align: right; border-top: 1px solid var(--rule); white-space: nowrap; }
thead th, thead td { border-top: 0; }
thead th { color: var(--soft); font-weight: 500; font-size: .9rem; vertical-align: bottom; }
thead th[colspan] { text-align: center; }
tbody th { text-align: left; font-weight: 500; }
.ours, .ours th { font-weight: 650; }
.group th { padding-top: 1rem; color: var(--soft); } .group ~ tr th { padding-left: 2rem; } .group ~ tr > * { border-top: 0; }
.drawing { display: block; width: 100%; height: auto; font-size: 14px; font-variant-numeric: tabular-nums; }
.drawing text { fill: var(--text); } .drawing .soft, .drawing .place { fill: var(--soft); font-size: 13px; }
.drawing .frame { fill: none; stroke: var(--rule); } .drawing .leader { fill: none; stroke: var(--soft); }
.bytes text { fill: #16181c; text-anchor: middle; } .bytes .hex { font-size: 10.5px; fill-opacity: .72; }
.drawing .place { text-anchor: end; }
.magic { fill: #ffb3ab; --tint: #ffb3ab; } .version { fill: #ffd59a; --tint: #ffd59a; }
.reserved { fill: #dddad2; --tint: #dddad2; } .description { fill: #fff09a; --tint: #fff09a; }
.name { fill: #b5e6b0; --tint: #b5e6b0; } .length { fill: #d9c2f0; --tint: #d9c2f0; }
.content { fill: #a9dcf5; --tint: #a9dcf5; }
.byte-key { display: flex; flex-wrap: wrap; gap: .2rem 1.1rem; margin: .7rem 0 0; padding: 0; list-style: none;
  font-size: .9rem; }
.byte-key li::before { content: ""; display: inline-block; width: .8em; height: .8em; margin-right: .4em;
  background: var(--tint); }
.fingerprint { display: inline-block; width: 12rem; height: .75rem; vertical-align: middle; border-radius: .15rem; }
.apart { margin-top: 1.75rem; }
.listed th, .listed td { padding-inline: .6rem; } .listed thead th { white-space: normal; }
.record { margin: 0; padding: 1rem 1.25rem; overflow-x: auto; background: var(--card); border: 1px solid var(--rule);
  border-radius: .25rem; font: .85rem/1.75 ui-monospace, "SF Mono", Menlo, Consolas, "DejaVu Sans Mono", monospace; }
figure > .scroll { margin: 0; }
.card { padding: .75rem; background: var(--card); border: 1px solid var(--rule); border-radius: .25rem; }
.below { margin-top: 1.75rem; }
.plot { display: block; width: 100%; height: auto; overflow: visible; font-size: 12px; font-variant-numeric: tabular-nums;
  --first: var(--link); --second: #e0702c; }
.plot path { fill: none; stroke-linejoin: round; }
.plot text { fill: var(--soft); } .plot .x { text-anchor: middle; } .plot .y, .plot .end { text-anchor: end; }
.plot .grid { stroke: var(--rule); } .plot .faint { stroke: var(--soft); stroke-dasharray: 3 4; }
.plot .note { fill: var(--text); font-size: 14px; }
.plot .first { --of: var(--first); } .plot .second { --of: var(--second); }
.plot .cyan { --of: var(--cyan); } .plot .magenta { --of: var(--magenta); } .plot .yellow { --of: #d8b400; }
.plot .black { --of: var(--text); }
.plot .curve { stroke: var(--of); stroke-width: 2.5; }
.plot .dot { fill: var(--card); stroke: var(--of); stroke-width: 2; } .plot circle:hover { stroke-width: 5; }
.plot .polygon { stroke: var(--soft); stroke-width: 1.2; } .plot .control { fill: var(--soft); }
.plot .area { fill: var(--of); fill-opacity: .45; } .plot .median { stroke: var(--of); stroke-width: 2; }
.plot .contour { fill: var(--first); fill-opacity: .065; stroke: var(--first); stroke-opacity: .25; }
.plot .asked { fill: var(--of); fill-opacity: .75; } .plot .way { stroke: var(--of); stroke-width: 1.6; }
.plot .goal { fill: none; stroke: var(--text); stroke-width: 2; }
.cells .lit { fill: var(--text); } .cells .dark { fill: var(--rule); } .cells rect { stroke: var(--card); stroke-width: .06; }
figcaption .first, figcaption .second { display: inline-block; width: .8em; height: .8em; opacity: .6; }
figcaption .first { background: var(--link); } figcaption .second { background: #e0702c; }
.key { margin: 0 .25em; white-space: nowrap; }
.key span { display: inline-block; width: .8em; height: .8em; margin-right: .35em; border: 1px solid var(--rule); }
.live-tool { margin-top: 1.5rem; } .live-tool[hidden] { display: none; } .running .live-native { display: none; }
.live-stage { position: relative; overflow: hidden; background: #fff; border: 1px solid var(--rule); border-radius: .25rem;
  max-height: 80vh; margin-inline: auto; }
.live-stage canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
#live-after { cursor: crosshair; } #live-line { position: absolute; inset-block: 0; width: 2px; background: #fff;
  box-shadow: 0 0 3px #000; pointer-events: none; }
.live-wide, .live-inks label { display: grid; grid-template-columns: 1fr auto; align-items: center; gap: 0 1rem; }
.live-wide input, .live-inks input { grid-column: 1 / -1; width: 100%; min-height: 24px; }
.live-panel { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 18rem), 1fr)); gap: 1rem 2rem;
  margin: 1rem 0 1.75rem; }
.live-tool button { min-height: 3.5rem; width: 100%; font: inherit; color: var(--text); background: var(--card);
  border: 2px dashed var(--soft); border-radius: .25rem; cursor: pointer; }
.live-tool button.over { border-style: solid; border-color: var(--link); }
#live-swatch { display: inline-block; width: 3rem; height: 1rem; vertical-align: middle; border: 1px solid var(--rule); }
.live-small { color: var(--soft); font-size: .92rem; } #live-solid { display: block; max-width: 100%; touch-action: none; }
.live-tool :focus-visible { outline: .15rem solid var(--link); outline-offset: .15rem; }
@media print { .live-tool { display: none; } .running .live-native { display: grid; } }
.steps { padding-left: 1.2rem; max-width: 46rem; }
.steps li { margin-bottom: .6rem; padding-left: .35rem; }
.steps li::marker { color: var(--soft); font-weight: 650; }
footer { padding-bottom: 3rem; color: var(--soft); font-size: .92rem; }
footer p { border-top: 1px solid var(--rule); padding-top: 1rem; max-width: none; }

@media (max-width: 30rem) {
  body { font-size: 1rem; }
  h3 { margin-top: 2.5rem; }
  .key-figures { grid-template-columns: 1fr 1fr; gap: .7rem; }
  .key-figures div { padding: .7rem .8rem; }
  .key-figures dd { font-size: 1.45rem; }
  .key-figures dt { font-size: .85rem; }
  th, td { padding: .4rem .25rem; font-size: .8rem; white-space: normal; }
  th:first-child { padding-left: .6rem; }
  td:last-child, th:last-child { padding-right: .6rem; }
  thead th { font-size: .78rem; }
  caption { padding: .7rem .6rem .3rem; font-size: .9rem; }
  .mixer label { padding: .3rem .6rem; font-size: .85rem; }
  .fingerprint { width: 4.5rem; } .digests code { font-size: .9em; }
  .record { padding: .7rem .8rem; font-size: .72rem; }
  .listed td { padding-inline: .25rem; }
}
@media print {
  :root { --page: #fff; --card: #fff; --text: #000; --soft: #444; --rule: #bbb; --link: #000; }
  body { font-size: 10pt; print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  header, main, footer { max-width: none; padding: 0; }
  figure, .scroll, .key-figures div, li { break-inside: avoid; }
  h3 { break-after: avoid; margin-top: 1.5rem; }
  .pair { grid-template-columns: 1fr 1fr; gap: 1rem; }
  .key-figures { grid-template-columns: repeat(4, 1fr); gap: .5rem; }
  .key-figures dd { font-size: 1.2rem; }
  .scroll { overflow: visible; }
  .mixer label { display: none; }
  th, td { padding: .25rem .4rem; font-size: 8.5pt; white-space: normal; }
}
)";

const char *const page_script = R"(
"use strict";
for (const pair of document.querySelectorAll(".compare")) {
  const [first, second] = pair.querySelectorAll("figure > a > img");
  if (!first || !second) continue;
  const stage = document.createElement("div"), pictures = document.createElement("div");
  const line = document.createElement("div"), label = document.createElement("label");
  const range = document.createElement("input");
  stage.className = "compare-stage";
  pictures.className = "compare-pictures";
  line.className = "compare-line";
  Object.assign(range, {type: "range", min: 0, max: 100, value: 50});
  pictures.append(first.cloneNode(), second.cloneNode(), line);
  label.append("Before and after", range);
  stage.append(pictures, label);
  const divide = () => {
    pictures.children[1].style.clipPath = `inset(0 0 0 ${range.value}%)`;
    line.style.left = range.value + "%";
    range.setAttribute("aria-valuetext", `Divided at ${range.value} %`);
  };
  range.addEventListener("input", divide);
  divide();
  pair.before(stage);
  const both = document.createElement("div");
  both.className = "compared";
  stage.before(both);
  both.append(stage, pair);
}
)";

}  // namespace examples
