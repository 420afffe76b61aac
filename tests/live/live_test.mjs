// live_test - the gallery's live section in a real browser
//
//     node live_test.mjs <gallery folder> <live_check> <folder of node modules> <chromium>
//
// Prints a line for each check and ends with 1 when one fails.

import {execFileSync} from "node:child_process";
import {mkdtempSync, readFileSync, rmSync, writeFileSync} from "node:fs";
import {createRequire} from "node:module";
import {tmpdir} from "node:os";
import {join, resolve} from "node:path";

const [gallery, checker, modules, chromium_path] = process.argv.slice(2).map(name => resolve(name));
const require = createRequire(join(modules, "node_modules", "none"));
const {chromium} = require("playwright-core");
const axe = readFileSync(require.resolve("axe-core"), "utf8");
const work = mkdtempSync(join(tmpdir(), "live-"));
const address = "file://" + join(gallery, "index.html");

let passed = 0, failed = 0;
function expect(what, holds, seen = "") {
  console.log(`${holds ? "ok    " : "FAILED"} ${what} ${holds ? "" : seen}`);
  holds ? ++passed : ++failed;
}

const browser = await chromium.launch({executablePath: chromium_path, args: ["--no-sandbox"]});

async function open(width, before = () => {}, options = {}) {
  const page = await browser.newPage({viewport: {width, height: 900}, ...options});
  page.errors = [];
  page.on("console", message => { if (message.type() === "error") page.errors.push(message.text()); });
  page.on("pageerror", problem => page.errors.push(String(problem)));
  await before(page);
  await page.goto(address);
  await page.waitForFunction(() => ["ready", "failed"].includes(document.documentElement.dataset.live), null, {timeout: 60000});
  return page;
}

const done = (page, before) => page.waitForFunction(
    seen => document.getElementById("live").dataset.done !== undefined && document.getElementById("live").dataset.done !== seen,
    before, {timeout: 60000});
const number_done = page => page.evaluate(() => document.getElementById("live").dataset.done);
const after_pixels = page => page.evaluate(() => {
  const canvas = document.getElementById("live-after");
  return Array.from(canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height).data);
});

// ---- It runs, and gives the bytes of the native library --------------------------------------------------------------

const page = await open(1280);
const data = await page.evaluate(() => ({...document.documentElement.dataset}));
expect("the page is ready", data.live === "ready", JSON.stringify(data));
expect("the self-test gives the native digest", data.liveHash === data.nativeHash && /^[0-9a-f]{8}$/.test(data.liveHash));
expect("which is the digest of the native program", execFileSync(checker).toString().trim() === data.liveHash);
await done(page);

const pixels = Buffer.alloc(256 * 256 * 3);
for (let i = 0; i < 256 * 256; ++i) pixels.set([i % 256, i >> 8, (i * 7 + (i >> 8) * 3) % 256], 3 * i);
writeFileSync(join(work, "in.rgb"), pixels);
execFileSync(checker, [join(gallery, "live/press.grid"), join(gallery, "live/screen.grid"), join(work, "in.rgb"), join(work, "out.rgb")]);
const wanted = readFileSync(join(work, "out.rgb"));
// The picture as a PNG, made by the browser itself.
const png = await page.evaluate(bytes => {
  const canvas = document.createElement("canvas");
  canvas.width = canvas.height = 256;
  const image = new ImageData(256, 256);
  for (let i = 0; i < 65536; ++i) image.data.set([bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2], 255], 4 * i);
  canvas.getContext("2d").putImageData(image, 0, 0);
  return canvas.toDataURL("image/png").split(",")[1];
}, Array.from(pixels));
writeFileSync(join(work, "in.png"), Buffer.from(png, "base64"));
let before = await number_done(page);
await page.setInputFiles("#live-file", join(work, "in.png"));
await done(page, before);
let got = await after_pixels(page);
expect("a picture of 256 x 256 comes back as from the native program",
       got.length === 4 * 65536 && got.every((value, i) => value === (i % 4 === 3 ? 255 : wanted[(i >> 2) * 3 + i % 4])));

// ---- Controls ----------------------------------------------------------------------------------------------------------

before = await number_done(page);
await page.focus("#live-cyan");
await page.keyboard.press("Home");
await done(page, before);
expect("a slider by keyboard changes the picture", (await after_pixels(page)).some((value, i) => value !== got[i]));
expect("and says its value", await page.getAttribute("#live-cyan", "aria-valuetext") === "Cyan 0 %");
await page.click(".live-stage", {position: {x: 20, y: 20}});
await page.waitForFunction(() => /prints?\b|does not print/.test(document.getElementById("live-colour").textContent) &&
                                 document.getElementById("live-colour").textContent.startsWith("L a b"));
expect("a click on a colour is answered", true);
const turned = () => page.evaluate(() => document.getElementById("live-solid").toDataURL());
await page.focus("#live-solid");
const still = await turned();
await page.keyboard.press("ArrowRight");
expect("the solid turns by arrow keys", await turned() !== still);
writeFileSync(join(work, "text.png"), "no picture");
await page.setInputFiles("#live-file", join(work, "text.png"));
await page.waitForFunction(() => document.getElementById("live-speed").textContent.includes("cannot be read"));
expect("what is no picture is refused with a sentence", true);

await page.evaluate(axe);
const findings = await page.evaluate(() => axe.run("#live").then(r => r.violations.map(v => v.impact + " " + v.id)));
expect("no serious finding of axe", !findings.some(f => /^(serious|critical)/.test(f)), findings.join(", "));
await page.emulateMedia({media: "print"});
expect("prints the pictures and no controls", await page.isVisible(".live-native") && !await page.isVisible(".live-tool"));
expect("no error in the console", page.errors.length === 0, page.errors.join(" | "));
await page.close();

// ---- Pictures of pixels ------------------------------------------------------------------------------------------------

// Those that are shown at neither a whole multiple of their pixels nor one over a whole number.
const uneven = page => page.evaluate(() => {
  const whole = v => Math.abs(v - Math.round(v)) < 1e-3 && v > 0.5;
  return [...document.querySelectorAll(".pixels")].flatMap(shown => {
    const ratio = shown.getBoundingClientRect().width / (shown.naturalWidth || shown.width);
    return whole(ratio) || whole(1 / ratio) ? [] : [`${shown.id || shown.getAttribute("src")} x ${ratio}`];
  });
});

// Where the lines of the grid stand in a slice as it is on the screen: dark columns of its upper edge.
async function grid_lines(page, name) {
  const shot = (await page.locator(`img[src="gamut/${name}.png"]`).screenshot()).toString("base64");
  return page.evaluate(async png => {
    const image = new Image();
    image.src = "data:image/png;base64," + png;
    await image.decode();
    const canvas = document.createElement("canvas"), pen = canvas.getContext("2d");
    [canvas.width, canvas.height] = [image.width, image.height];
    pen.drawImage(image, 0, 0);
    const row = pen.getImageData(0, image.height >> 6, image.width, 1).data, dark = [];
    for (let x = 1; x < image.width; ++x) if (row[4 * x] < 200 && row[4 * x - 4] >= 200) dark.push(x);
    return dark;
  }, shot);
}

for (const deviceScaleFactor of [1, 2]) {
  const shown = await open(420, () => {}, {deviceScaleFactor});
  const count = await shown.locator(".pixels").count();
  for (const width of [420, 768, 1280, 1920]) {
    await shown.setViewportSize({width, height: 900});
    await shown.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done))));
    const wrong = await uneven(shown), at = `at ${width} pixels, ${deviceScaleFactor} on the screen for each`;
    expect(`${count} pictures of pixels in whole multiples ${at}`, count > 30 && wrong.length === 0, wrong.join(", "));
    const lines = await grid_lines(shown, "lightness-50"), steps = lines.slice(1).map((x, i) => x - lines[i]);
    expect(`grid lines evenly apart ${at}`, lines.length >= 8 && steps.every(step => step === 30 * deviceScaleFactor),
           lines.join(" "));
    expect(`no horizontal scrolling ${at}`, await shown.evaluate(
        () => document.documentElement.scrollWidth <= document.documentElement.clientWidth));
  }
  await shown.close();
}

// ---- Before and after --------------------------------------------------------------------------------------------------

const compared = await open(1280);
const stage = compared.locator(".compare-stage").first(), range = stage.locator("input");
await range.focus();
const pictures = [];
for (const key of ["Home", "End"]) {
  await compared.keyboard.press(key);
  pictures.push((await stage.locator(".compare-pictures").screenshot()).toString("base64"));
}
expect("the slider shows one picture or the other", pictures[0] !== pictures[1] &&
       await range.getAttribute("aria-valuetext") === "Divided at 100 %");
expect("one picture instead of a pair", !await compared.isVisible(".compare figure img"));
expect("the archive takes half a screen at most",
       (await compared.locator("#records").boundingBox()).height <= 450);
await compared.evaluate(axe);
const serious = await compared.evaluate(
    () => axe.run().then(r => r.violations.filter(v => /serious|critical/.test(v.impact)).map(v => v.id + " " + v.nodes[0].html)));
expect("no serious finding of axe on the whole page", serious.length === 0, serious.join(", "));
await compared.emulateMedia({media: "print"});
expect("prints the pair", await compared.isVisible(".compare figure img") && !await stage.isVisible());
await compared.close();
const plain = await browser.newPage({javaScriptEnabled: false});
await plain.goto(address);
expect("without script the pair stands side by side",
       await plain.locator(".compare figure img").count() === 4 && await plain.isVisible(".compare figure img"));
await plain.close();

// ---- Narrow, and without WebAssembly ----------------------------------------------------------------------------------

const narrow = await open(420);
expect("no horizontal scrolling at 420 pixels",
       await narrow.evaluate(() => document.documentElement.scrollWidth <= document.documentElement.clientWidth));
await narrow.close();

const without = await open(1280, page => page.addInitScript(() => { delete window.WebAssembly; }));
expect("without WebAssembly the native pictures stay",
       await without.evaluate(() => document.documentElement.dataset.live) === "failed" &&
           await without.isVisible(".live-native") && !await without.isVisible(".live-tool"));
expect("with a sentence that says why", (await without.textContent("#live-why")).includes("WebAssembly"));
expect("and without an error in the console", without.errors.length === 0, without.errors.join(" | "));

await browser.close();
rmSync(work, {recursive: true});
console.log(`${passed} passed, ${failed} failed`);
process.exit(failed > 0 ? 1 : 0);
