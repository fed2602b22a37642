// Writes into the title which cages the page shows for what is searched, and whether the one that a
// link leads to is opened.
const title = {}, linked = document.getElementById("cage-cage3");
linked.open = false;
linked.hidden = true;
reveal();
title.open = linked.open && !linked.hidden;
function shown(words) {
  search.value = words;
  filter();
  return [...document.querySelectorAll(".main:not([hidden])")].map(each => each.id);
}
title.all = shown("").length;
for (const words of ["magazine 5:2", "fan 1140", "none of these"]) title[words] = shown(words);
only.checked = true;
title.attention = shown("");
document.title = JSON.stringify(title);
