// Tables that sort and filter, and a button for dark colours. Without it the page is whole, only still.
(() => {
  "use strict";

  const make = (tag, properties, ...children) => {
    const element = Object.assign(document.createElement(tag), properties);
    element.append(...children);
    return element;
  };

  // Numbers by value, those that are none last whichever way; texts as people count ("p9" before "p10").
  const collator = new Intl.Collator("en", { numeric: true });
  const compare = (kind, down) => (a, b) => {
    if (kind !== "number") return down ? collator.compare(b, a) : collator.compare(a, b);
    const [x, y] = [parseFloat(a), parseFloat(b)];
    if (Number.isNaN(x) || Number.isNaN(y)) return Number.isNaN(x) - Number.isNaN(y);
    return down ? y - x : x - y;
  };

  const enliven = (box) => {
    const table = box.querySelector("table");
    const body = table.tBodies[0];
    const rows = [...body.rows];
    const heads = [...table.tHead.rows[0].cells];
    const texts = new Map(rows.map((row) => [row, [...row.cells].map((cell) => cell.textContent)]));
    const searched = new Map(rows.map((row) => [row, texts.get(row).join("\n").toLowerCase()]));
    const status = make("p", { role: "status" });
    const choices = [];

    const words = make("input", { type: "search", id: table.id + "-words", autocomplete: "off" });
    const controls = make("div", { className: "controls" }, make("label", { htmlFor: words.id }, "Rows with the words", words));
    const filter = () => {
      const wanted = words.value.toLowerCase().split(/\s+/).filter(Boolean);
      let shown = 0;
      for (const row of rows) {
        row.hidden =
          !wanted.every((word) => searched.get(row).includes(word)) ||
          !choices.every(([column, select]) => select.value === "" || texts.get(row)[column] === select.value);
        shown += !row.hidden;
      }
      status.textContent = `${shown} of ${rows.length} rows`;
    };

    const sort = (column) => {
      const kind = heads[column].dataset.kind;
      const before = heads[column].getAttribute("aria-sort");
      // Of numbers the largest are looked for first.
      const down = before ? before === "ascending" : kind === "number";
      const order = compare(kind, down);
      heads.forEach((head) => head.removeAttribute("aria-sort"));
      heads[column].setAttribute("aria-sort", down ? "descending" : "ascending");
      body.append(...[...body.rows].sort((a, b) => order(texts.get(a)[column], texts.get(b)[column])));
    };

    heads.forEach((head, column) => {
      const button = make("button", { type: "button" }, ...head.childNodes);
      button.addEventListener("click", () => sort(column));
      head.replaceChildren(button);
      if (head.dataset.kind !== "choice") return;
      const select = make("select", { id: `${table.id}-choice-${column}` }, make("option", { value: "" }, "all"));
      const values = [...new Set(rows.map((row) => texts.get(row)[column]))].sort(collator.compare);
      select.append(...values.map((value) => make("option", { value }, value)));
      select.addEventListener("change", filter);
      choices.push([column, select]);
      controls.append(make("label", { htmlFor: select.id }, button.textContent, select));
    });
    words.addEventListener("input", filter);
    controls.append(status);
    box.before(controls);
    filter();
  };
  document.querySelectorAll("[data-sorts-and-filters]").forEach(enliven);

  const dark = document.getElementById("dark");
  const system = matchMedia("(prefers-color-scheme: dark)");
  const show = () => {
    const theme = document.documentElement.dataset.theme;
    dark.setAttribute("aria-pressed", String(theme ? theme === "dark" : system.matches));
  };
  dark.addEventListener("click", () => {
    document.documentElement.dataset.theme = dark.getAttribute("aria-pressed") === "true" ? "light" : "dark";
    show();
  });
  system.addEventListener("change", show);
  show();
  dark.hidden = false;

  // On paper nothing can be opened.
  let closed = [];
  addEventListener("beforeprint", () => {
    closed = [...document.querySelectorAll("details:not([open])")];
    closed.forEach((details) => (details.open = true));
  });
  addEventListener("afterprint", () => closed.forEach((details) => (details.open = false)));
})();
