// Writes into the title what a browser shows of the page: whether it fits the window, which texts
// reach beyond their box, whether the problems can be read, and how many boxes there are.
const beyond = [];
for (const text of document.querySelectorAll("svg svg > text:not(.name)")) {
  const inner = text.getBoundingClientRect(), outer = text.parentNode.getBoundingClientRect();
  if (inner.right > outer.right + 1 || inner.bottom > outer.bottom + 1) beyond.push(text.textContent);
}
document.title = JSON.stringify([document.documentElement.scrollWidth <= innerWidth, beyond,
  document.body.innerText.includes("58 °C, above its limit of 55 °C"), document.querySelectorAll("svg svg").length]);
