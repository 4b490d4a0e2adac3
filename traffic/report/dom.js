// Elements. Texts only ever become text nodes and attributes: a capture's contents are never markup.

const byId = (id) => document.getElementById(id);

function make(tag, attributes, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes || {})) {
    if (value !== undefined && value !== false) element.setAttribute(name, value);
  }
  element.append(...children.filter((child) => child !== null && child !== undefined));
  return element;
}

function draw(tag, attributes, ...children) {
  const element = document.createElementNS("http://www.w3.org/2000/svg", tag);
  for (const [name, value] of Object.entries(attributes || {})) element.setAttribute(name, value);
  element.append(...children);
  return element;
}

// Seconds since the run's first frame.
const seconds = (ns) => (ns / 1e9).toFixed(6);

function duration(ns) {
  if (ns < 1e6) return (ns / 1e3).toFixed(0) + " \u00b5s";
  if (ns < 1e9) return (ns / 1e6).toFixed(ns < 1e7 ? 2 : 1) + " ms";
  if (ns < 120e9) return (ns / 1e9).toFixed(2) + " s";
  return Math.floor(ns / 60e9) + " min " + Math.floor(ns / 1e9 % 60) + " s";
}

const hex4 = (number) => "0x" + number.toString(16).padStart(4, "0");

const plural = (count, one) => count.toLocaleString("en") + " " + one + (count === 1 ? "" : "s");

// Calls `then` when the element's width has changed, and at once.
function onWidth(element, then) {
  let width = -1;
  new ResizeObserver(() => {
    if (element.clientWidth === width || element.clientWidth === 0) return;
    width = element.clientWidth;
    then(width);
  }).observe(element);
}
