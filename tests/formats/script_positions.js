// Runs a written script as a web page does and prints where its terms put pixels.
// Usage: script_positions.js SCRIPT <PIXELS   ("x y" a line; "longitude latitude" a line comes out)
const fs = require("fs");
const vm = require("vm");

const map = {};
vm.runInNewContext(fs.readFileSync(process.argv[2], "utf8"), map);

function position(x, y) {
  if (map.proj !== "M") return [map.x0 + map.tf1 * x + map.tf3 * y, map.y0 + map.tf2 * x + map.tf4 * y];
  const ordinate = map.my0 + ((map.my1 - map.my0) * y) / map.high;
  return [map.x0 + map.tf1 * x, ((2 * Math.atan(Math.exp(ordinate)) - Math.PI / 2) * 180) / Math.PI];
}

for (const line of fs.readFileSync(0, "utf8").trim().split("\n")) {
  const [x, y] = line.trim().split(/\s+/).map(Number);
  console.log(position(x, y).map((angle) => angle.toFixed(9)).join(" "));
}
