// live-page - the section of the gallery in which the reader prints a picture
//
// Without WebAssembly, or when anything fails before the first conversion, the pictures of the native run stay, and one
// sentence says why. Otherwise the library converts in a worker, strip by strip, and the newest wish wins.

"use strict";

(function () {
const root = document.documentElement;
const section = document.getElementById("live");
if (!section) return;

const strip_lines = 64;
const most_pixels = 24000000;
const ink_names = ["Cyan", "Magenta", "Yellow", "Black"];
const $ = id => document.getElementById(id);
const state = text => { root.dataset.live = text; };

// ---- What runs in the worker: TeskaLive and its data stand before it in the same text -----------------------------

function worker_body() {
  let module, press, screen, grid, base, image = null, wish = 0;

  function words(text) {
    const bytes = Uint8Array.from(atob(text), c => c.charCodeAt(0));
    const view = new DataView(bytes.buffer), out = new Uint16Array(bytes.length / 2);
    for (let i = 0; i < out.length; ++i) out[i] = view.getUint16(2 * i, true);
    return out;
  }

  // Memory of the module for a call; views are made anew, because they change when memory grows.
  function held(size) {
    const at = module._live_alloc(size);
    if (!at) throw Error("not enough memory");
    return at;
  }

  function text_at(at) {
    let end = at;
    while (module.HEAPU8[end]) ++end;
    return new TextDecoder().decode(module.HEAPU8.slice(at, end));
  }

  function new_table(described, samples) {
    const table = module._live_table_new(described.inputs, described.outputs, described.points);
    if (!table) throw Error(text_at(module._live_error()));
    set_grid(table, samples);
    return table;
  }

  function set_grid(table, samples) {
    const at = held(2 * samples.length);
    module.HEAPU16.set(samples, at >> 1);
    const taken = module._live_table_set(table, at, samples.length);
    module._live_free(at);
    if (!taken) throw Error("a grid of another size");
  }

  // Black that is not wanted is printed by the three colours; then each ink is scaled.
  function mixed(settings) {
    const out = new Uint16Array(base.length);
    for (let i = 0; i < base.length; i += 4) {
      const moved = base[i + 3] * (100 - settings.black) / 100;
      for (let c = 0; c < 3; ++c)
        out[i + c] = Math.round(Math.min(65535, base[i + c] + moved) * settings.inks[c] / 100);
      out[i + 3] = Math.round((base[i + 3] - moved) * settings.inks[3] / 100);
    }
    return out;
  }

  const later = () => new Promise(done => setTimeout(done, 0));

  async function convert(settings) {
    const mine = ++wish;
    set_grid(press, mixed(settings));
    const {width, height, pixels} = image, size = 64 * width;
    const rgba = held(4 * size), inks = held(4 * size);
    let busy = 0;
    for (let y = 0; y < height && mine === wish; y += 64) {
      const count = Math.min(64, height - y) * width;
      module.HEAPU8.set(pixels.subarray(4 * y * width, 4 * (y * width + count)), rgba);
      const start = performance.now();
      module._live_table_run(press, rgba, 4, inks, 4, count);
      module._live_table_run(screen, inks, 4, rgba, 4, count);
      busy += performance.now() - start;
      const strip = module.HEAPU8.slice(rgba, rgba + 4 * count);
      postMessage({strip: strip.buffer, y, lines: count / width, wish: settings.wish}, [strip.buffer]);
      await later();
    }
    module._live_free(rgba);
    module._live_free(inks);
    if (mine === wish) postMessage({done: settings.wish, pixels: width * height, milliseconds: busy});
  }

  function hull_answer(asked) {
    const at = held(48);
    module.HEAPF64.set(asked.lab, at >> 3);
    const inside = module._live_hull_nearest(hull, at, at + 24);
    const nearest = Array.from(module.HEAPF64.subarray((at >> 3) + 3, (at >> 3) + 6));
    const difference = held(4);
    module._live_delta_map(at, at + 24, 1, difference);
    const away = module.HEAPF32[difference >> 2];
    module._live_free(difference);
    module._live_free(at);
    postMessage({colour: asked.lab, inside, nearest, away});
  }

  let hull = 0;
  self.onmessage = event => {
    const asked = event.data;
    if (asked.image) image = asked.image;
    if (asked.settings && image) convert(asked.settings).catch(e => postMessage({failed: e.message}));
    if (asked.lab) hull_answer(asked);
  };

  TeskaLive().then(made => {
    module = made;
    const test = text_at(module._live_self_test());
    base = words(data.press.grid);
    press = new_table(data.press, base);
    screen = new_table(data.screen, words(data.screen.grid));
    const at = held(8 * data.hull.length);
    module.HEAPF64.set(data.hull, at >> 3);
    hull = module._live_hull_new(at, data.hull.length / 3);
    module._live_free(at);
    if (!hull) throw Error(text_at(module._live_error()));
    postMessage({ready: test});
  }).catch(e => postMessage({failed: String(e.message || e)}));
}

// ---- Colours ----------------------------------------------------------------------------------------------------------

function lab_of(r, g, b) {
  const [x, y, z] = [r, g, b].map(v => v / 255).map(v => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
  const xyz = [0.4360747 * x + 0.3850649 * y + 0.1430804 * z, 0.2225045 * x + 0.7168786 * y + 0.0606169 * z,
               0.0139322 * x + 0.0971045 * y + 0.7141733 * z];
  const f = xyz.map((v, i) => v / [0.9642, 1, 0.8249][i]).map(t => t > 216 / 24389 ? Math.cbrt(t) : (24389 / 27 * t + 16) / 116);
  return [116 * f[1] - 16, 500 * (f[0] - f[1]), 200 * (f[1] - f[2])];
}

function rgb_of(lab) {
  const fy = (lab[0] + 16) / 116, f = [fy + lab[1] / 500, fy, fy - lab[2] / 200];
  const [x, y, z] = f.map(t => t ** 3 > 216 / 24389 ? t ** 3 : (116 * t - 16) * 27 / 24389)
                     .map((v, i) => v * [0.9642, 1, 0.8249][i]);
  return [3.1338561 * x - 1.6168667 * y - 0.4906146 * z, -0.9787684 * x + 1.9161415 * y + 0.0334540 * z,
          0.0719453 * x - 0.2289914 * y + 1.4052427 * z]
      .map(v => v <= 0.0031308 ? 12.92 * v : 1.055 * v ** (1 / 2.4) - 0.055)
      .map(v => Math.round(255 * Math.min(1, Math.max(0, v))));
}

const css = rgb => `rgb(${rgb.join(" ")})`;
const figures = lab => lab.map(v => v.toFixed(0).replace("-0", "0")).join(" ");

// ---- The page ----------------------------------------------------------------------------------------------------------

const before = $("live-before"), after = $("live-after");
let worker = null, picture = null, wish = 0, announced = 0;

function settings() {
  return {wish: ++wish, black: Number($("live-generation").value), inks: ink_names.map(n => Number($("live-" + n.toLowerCase()).value))};
}

function show_values() {
  for (const slider of section.querySelectorAll("input[type=range]")) {
    const text = `${slider.dataset.name} ${slider.value} %`;
    slider.setAttribute("aria-valuetext", text);
    const shown = slider.parentElement.querySelector("output");
    if (shown) shown.textContent = `${slider.value} %`;
  }
}

function convert() {
  if (picture) worker.postMessage({settings: settings()});
}

// At most one announcement a second; the last one is always made.
let pending = 0;
function say(text) {
  clearTimeout(pending);
  const wait = Math.max(0, announced + 1000 - performance.now());
  pending = setTimeout(() => { announced = performance.now(); $("live-speed").textContent = text; }, wait);
}

function divide() {
  after.style.clipPath = `inset(0 0 0 ${$("live-divide").value}%)`;
  $("live-line").style.left = $("live-divide").value + "%";
}

async function take(source, name) {
  let bitmap;
  try {
    bitmap = await createImageBitmap(source, {colorSpaceConversion: "none"});
  } catch (problem) {
    return say(`${name} cannot be read as a picture`);
  }
  const scale = Math.min(1, Math.sqrt(most_pixels / (bitmap.width * bitmap.height)));
  const width = Math.max(1, Math.floor(bitmap.width * scale)), height = Math.max(1, Math.floor(bitmap.height * scale));
  for (const canvas of [before, after]) {
    canvas.width = width;
    canvas.height = height;
  }
  section.querySelector(".live-stage").style.aspectRatio = `${width} / ${height}`;
  before.getContext("2d", {willReadFrequently: true}).drawImage(bitmap, 0, 0, width, height);
  const pixels = new Uint8Array(before.getContext("2d").getImageData(0, 0, width, height).data.buffer);
  picture = {width, height, pixels};
  $("live-note").textContent = scale < 1 ? `${name} is shown with ${width} × ${height} pixels: more take too long here.` : "";
  worker.postMessage({image: picture});
  convert();
}

function answer(message) {
  if (message.strip && message.wish === wish) {
    const data = new ImageData(new Uint8ClampedArray(message.strip), picture.width, message.lines);
    after.getContext("2d").putImageData(data, 0, message.y);
  } else if (message.done === wish) {
    const speed = message.milliseconds > 0 ? message.pixels / message.milliseconds / 1000 : 0;
    section.dataset.done = String(message.done);
    say(`${(message.pixels / 1e6).toFixed(2)} million pixels there and back, ${speed.toFixed(0)} Mpx/s`);
  } else if (message.colour) {
    const text = message.inside > 0 ? `L a b ${figures(message.colour)} prints.`
        : `L a b ${figures(message.colour)} does not print: the nearest that does is ${figures(message.nearest)}, ` +
          `ΔE₀₀ ${message.away.toFixed(1)} away.`;
    $("live-colour").textContent = text;
    $("live-swatch").style.background =
        `linear-gradient(90deg, ${css(rgb_of(message.colour))} 50%, ${css(rgb_of(message.nearest))} 50%)`;
    solid.mark(message.colour, message.nearest);
  } else if (message.failed) {
    fail(message.failed);
  }
}

function fail(why) {
  state("failed");
  section.classList.remove("running");
  for (const control of section.querySelectorAll(".live-controls")) control.hidden = true;
  $("live-why").textContent = `The live conversion is off here (${why}); the pictures above come from the native run.`;
}

// ---- The solid that turns ---------------------------------------------------------------------------------------------

const solid = (() => {
  const canvas = $("live-solid");
  let round = 0.6, above = 0.35, size = 1, marked = null, faces = [], timer = 0;
  const still = matchMedia("(prefers-reduced-motion: reduce)");
  let wide = 560, high = 420;

  // As wide as there is room, with a pixel of its own for every pixel of the screen.
  function fit(pen) {
    const ratio = window.devicePixelRatio || 1;
    wide = Math.min(560, canvas.parentElement.clientWidth);
    high = Math.round(wide * 3 / 4);
    canvas.style.width = wide + "px";
    if (canvas.width !== Math.round(wide * ratio)) {
      canvas.width = Math.round(wide * ratio);
      canvas.height = Math.round(high * ratio);
    }
    pen.setTransform(ratio, 0, 0, ratio, 0, 0);
  }

  function place([l, a, b]) {
    const x = Math.cos(round) * a - Math.sin(round) * b, depth = Math.sin(round) * a + Math.cos(round) * b;
    const y = Math.cos(above) * (l - 50) + Math.sin(above) * depth;
    const scale = high / 230 * size;
    return [wide / 2 + scale * x, high / 2 - scale * y, Math.cos(above) * depth - Math.sin(above) * (l - 50)];
  }

  function line(pen, from, to, style) {
    const p = place(from), q = place(to);
    pen.strokeStyle = style;
    pen.beginPath();
    pen.moveTo(p[0], p[1]);
    pen.lineTo(q[0], q[1]);
    pen.stroke();
  }

  function axes(pen, text) {
    pen.fillStyle = text;
    pen.font = "12px system-ui, sans-serif";
    for (const [from, to, name, ticks] of [[[0, 0, 0], [100, 0, 0], "L", [0, 50, 100]], [[0, -100, 0], [0, 100, 0], "a", [-100, 100]],
                                           [[0, 0, -100], [0, 0, 100], "b", [-100, 100]]]) {
      line(pen, from, to, text);
      for (const tick of ticks) {
        const at = from.map((v, i) => v === to[i] ? v : tick), [x, y] = place(at);
        pen.fillText(tick === ticks[ticks.length - 1] ? `${name} ${tick}` : String(tick), x + 4, y - 4);
      }
    }
  }

  function draw() {
    const pen = canvas.getContext("2d");
    const text = getComputedStyle(section).color;
    fit(pen);
    pen.clearRect(0, 0, wide, high);
    axes(pen, text);
    const shown = faces.map(face => ({face, at: face.map(place)}))
        .filter(({at: [p, q, r]}) => (q[0] - p[0]) * (r[1] - p[1]) - (q[1] - p[1]) * (r[0] - p[0]) < 0)
        .sort((x, y) => y.at[0][2] + y.at[1][2] + y.at[2][2] - x.at[0][2] - x.at[1][2] - x.at[2][2]);
    for (const {face, at} of shown) {
      const middle = [0, 1, 2].map(i => (face[0][i] + face[1][i] + face[2][i]) / 3);
      pen.fillStyle = pen.strokeStyle = css(rgb_of(middle));
      pen.beginPath();
      at.forEach(([x, y], i) => i ? pen.lineTo(x, y) : pen.moveTo(x, y));
      pen.closePath();
      pen.fill();
      pen.stroke();
    }
    pen.globalAlpha = 0.35;
    for (const [from, to] of wire) line(pen, from, to, text);
    pen.globalAlpha = 1;
    if (marked) {
      line(pen, marked[0], marked[1], text);
      for (const lab of marked) {
        const [x, y] = place(lab);
        pen.fillStyle = css(rgb_of(lab));
        pen.strokeStyle = text;
        pen.beginPath();
        pen.arc(x, y, 6, 0, 2 * Math.PI);
        pen.fill();
        pen.stroke();
      }
    }
  }

  // The screen's own colours: the edges of its cube, in steps.
  const wire = [];
  for (let axis = 0; axis < 3; ++axis)
    for (const u of [0, 255]) for (const v of [0, 255]) for (let s = 0; s < 8; ++s) {
      const at = w => { const rgb = [u, v]; rgb.splice(axis, 0, w); return lab_of(...rgb); };
      wire.push([at(255 * s / 8), at(255 * (s + 1) / 8)]);
    }

  function turn() {
    if (still.matches || document.activeElement === canvas || document.hidden) return;
    round += 0.01;
    draw();
  }

  function start() {
    faces = TESKA_LIVE_DATA.faces.map(face => face.map(i => TESKA_LIVE_DATA.hull.slice(3 * i, 3 * i + 3)));
    canvas.addEventListener("keydown", event => {
      const step = {ArrowLeft: [-0.1, 0, 1], ArrowRight: [0.1, 0, 1], ArrowUp: [0, 0.1, 1], ArrowDown: [0, -0.1, 1],
                    "+": [0, 0, 1.1], "-": [0, 0, 1 / 1.1]}[event.key];
      if (!step) return;
      event.preventDefault();
      round += step[0];
      above = Math.max(-1.5, Math.min(1.5, above + step[1]));
      size = Math.max(0.5, Math.min(4, size * step[2]));
      draw();
    });
    let grip = null;
    canvas.addEventListener("pointerdown", event => { grip = [event.clientX, event.clientY]; canvas.setPointerCapture(event.pointerId); });
    canvas.addEventListener("pointerup", () => { grip = null; });
    canvas.addEventListener("pointermove", event => {
      if (!grip) return;
      round += (event.clientX - grip[0]) / 120;
      above = Math.max(-1.5, Math.min(1.5, above + (event.clientY - grip[1]) / 120));
      grip = [event.clientX, event.clientY];
      draw();
    });
    window.addEventListener("resize", draw);
    draw();
    clearInterval(timer);
    timer = setInterval(turn, 50);
  }

  return {start, mark(colour, nearest) { marked = [colour, nearest]; draw(); }};
})();

// ---- Start -------------------------------------------------------------------------------------------------------------

function pick(x, y) {
  const [r, g, b] = before.getContext("2d").getImageData(x, y, 1, 1).data;
  worker.postMessage({lab: lab_of(r, g, b)});
}

function listen() {
  for (const slider of section.querySelectorAll(".live-inks input")) slider.addEventListener("input", () => { show_values(); convert(); });
  $("live-divide").addEventListener("input", () => { show_values(); divide(); });
  $("live-file").addEventListener("change", event => { if (event.target.files[0]) take(event.target.files[0], event.target.files[0].name); });
  const zone = $("live-drop");
  zone.addEventListener("click", () => $("live-file").click());
  for (const name of ["dragenter", "dragover"]) zone.addEventListener(name, event => { event.preventDefault(); zone.classList.add("over"); });
  zone.addEventListener("dragleave", () => zone.classList.remove("over"));
  zone.addEventListener("drop", event => {
    event.preventDefault();
    zone.classList.remove("over");
    if (event.dataTransfer.files[0]) take(event.dataTransfer.files[0], event.dataTransfer.files[0].name);
  });
  section.querySelector(".live-stage").addEventListener("click", event => {
    const box = after.getBoundingClientRect();
    pick(Math.min(after.width - 1, Math.floor((event.clientX - box.left) / box.width * after.width)),
         Math.min(after.height - 1, Math.floor((event.clientY - box.top) / box.height * after.height)));
  });
  let cross = null;
  after.addEventListener("keydown", event => {
    const step = {ArrowLeft: [-8, 0], ArrowRight: [8, 0], ArrowUp: [0, -8], ArrowDown: [0, 8], Enter: [0, 0]}[event.key];
    if (!step) return;
    event.preventDefault();
    cross = cross || [after.width >> 1, after.height >> 1];
    cross = [Math.max(0, Math.min(after.width - 1, cross[0] + step[0])), Math.max(0, Math.min(after.height - 1, cross[1] + step[1]))];
    pick(...cross);
  });
}

// The picture of the page itself, as it was drawn by the browser; from a folder its pixels may not be read, so a
// pattern of all hues stands in.
function first_picture() {
  const image = section.querySelector(".live-native img");
  let canvas = document.createElement("canvas");
  [canvas.width, canvas.height] = [image.naturalWidth, image.naturalHeight];
  let pen = canvas.getContext("2d");
  pen.drawImage(image, 0, 0);
  try {
    pen.getImageData(0, 0, 1, 1);
  } catch (refused) {
    canvas = document.createElement("canvas");
    [canvas.width, canvas.height] = [768, 512];
    pen = canvas.getContext("2d");
    for (let x = 0; x < 768; ++x) {
      const shades = pen.createLinearGradient(0, 0, 0, 512);
      shades.addColorStop(0, "white");
      shades.addColorStop(0.5, `hsl(${x / 768 * 360} 100% 50%)`);
      shades.addColorStop(1, "black");
      pen.fillStyle = shades;
      pen.fillRect(x, 0, 1, 512);
    }
  }
  return take(canvas, "The picture");
}

function start() {
  if (typeof WebAssembly !== "object" || typeof TeskaLive !== "function" || typeof TESKA_LIVE_DATA !== "object") {
    return fail("this browser has no WebAssembly, or the page was made without it");
  }
  root.dataset.nativeHash = TESKA_LIVE_DATA.native;
  const text = 'var _scriptDir="";var TeskaLive=' + TeskaLive.toString() + ";const data=" +
      JSON.stringify({press: TESKA_LIVE_DATA.press, screen: TESKA_LIVE_DATA.screen, hull: TESKA_LIVE_DATA.hull}) + ";(" +
      worker_body.toString() + ")()";
  worker = new Worker(URL.createObjectURL(new Blob([text], {type: "text/javascript"})));
  worker.onerror = event => { event.preventDefault(); fail(event.message || "its worker does not start"); };
  worker.onmessage = event => {
    if (event.data.ready === undefined) return answer(event.data);
    root.dataset.liveHash = event.data.ready;
    if (event.data.ready !== TESKA_LIVE_DATA.native) return fail("the self-test gave other bytes than the native library");
    section.classList.add("running");
    for (const control of section.querySelectorAll(".live-controls")) control.hidden = false;
    listen();
    show_values();
    divide();
    solid.start();
    first_picture().then(() => state("ready"));
  };
}

state("loading");
try {
  if (document.readyState === "complete") start();
  else window.addEventListener("load", start);
} catch (problem) {
  fail(problem.message);
}
})();
