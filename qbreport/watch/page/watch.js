// The page: follows the events of the service, and connects the views.
import { Pages } from "./pages.js";
import { Documents } from "./documents.js";
import { Source } from "./source.js";

const byId = (id) => document.getElementById(id);

const source = new Source(byId("source"), byId("origin"), (line) => pages.showLine(line));
const pages = new Pages({
  view: byId("pages"), thumbnails: byId("thumbnails"), page: byId("page"), count: byId("count"), zoom: byId("zoom"),
  onControl: (control) => source.showControl(control),
});
const documents = new Documents(byId("document"));
const RETRY_AFTER = 1000;  // milliseconds
let good = 0;  // the version that the views show

function showMessages(messages) {
  byId("messages").replaceChildren(...messages.map((message) => {
    const item = document.createElement("li");
    const place = message.line ? `${message.file ?? ""}:${message.line}:${message.column ?? 1}` : message.file ?? "";
    const word = document.createElement("strong");
    word.className = message.severity;
    word.textContent = message.severity;
    item.append(word, " ");
    if (message.line && source.isOf(message.file)) {
      const link = document.createElement("button");
      link.type = "button";
      link.textContent = place;
      link.addEventListener("click", () => source.goTo(message.line));
      item.append(link, " ");
    } else if (place) {
      item.append(`${place}: `);
    }
    item.append(message.text);
    return item;
  }));
  if (messages.length === 0) byId("messages").textContent = "None.";
}

async function show(state) {
  const name = state.template.split("/").pop();
  byId("template").textContent = name;
  document.title = `${state.isGood ? "" : "✗ "}${name} – qbreport watch`;
  const errors = state.messages.filter((message) => message.severity === "error").length;
  const status = byId("status");
  status.className = state.isGood ? "" : "bad";
  status.textContent = state.isGood ? `version ${state.version}: good`
    : `${errors} ${errors === 1 ? "error" : "errors"}${state.good > 0 ? "; the pages are those of the last good version" : ""}`;
  if (state.good > 0 && state.good !== good) {
    good = state.good;
    pages.show(state.pages, good);
    documents.show(name, good);
    const answer = await fetch(`items?version=${good}`);
    if (answer.ok) pages.setItems(await answer.json());
  }
  await source.load(state.template, state.version);
  source.showErrors(state.messages);
  showMessages(state.messages);
  document.documentElement.dataset.version = state.version;
}

function chooseTab(tab) {
  for (const other of byId("tabs").children) {
    other.setAttribute("aria-selected", String(other === tab));
    other.tabIndex = other === tab ? 0 : -1;
  }
  const kind = tab.id.replace("tab-", "");
  const isPages = kind === "pages";
  byId("pages").hidden = !isPages;
  byId("document").hidden = isPages;
  byId("tools").hidden = !isPages;
  byId("document").setAttribute("aria-labelledby", tab.id);
  documents.choose(isPages ? "" : kind);
}

byId("tabs").addEventListener("click", (event) => { if (event.target.role === "tab") chooseTab(event.target); });
byId("tabs").addEventListener("keydown", (event) => {
  const tabs = [...byId("tabs").children];
  const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
  if (!step) return;
  const tab = tabs[(tabs.indexOf(document.activeElement) + step + tabs.length) % tabs.length];
  tab.focus();
  chooseTab(tab);
});

byId("previous").addEventListener("click", () => pages.goTo(pages.current - 1));
byId("next").addEventListener("click", () => pages.goTo(pages.current + 1));
byId("page").addEventListener("change", () => pages.goTo(Number(byId("page").value)));
byId("smaller").addEventListener("click", () => pages.zoomBy(1 / 1.25));
byId("larger").addEventListener("click", () => pages.zoomBy(1.25));
byId("zoom").addEventListener("click", () => pages.setZoom(1));
document.addEventListener("keydown", (event) => {
  if (byId("pages").hidden || event.ctrlKey || event.metaKey || event.altKey || event.target.id === "page") return;
  const act = {
    PageUp: () => pages.goTo(pages.current - 1), PageDown: () => pages.goTo(pages.current + 1),
    Home: () => pages.goTo(1), End: () => pages.goTo(Infinity),
    "+": () => pages.zoomBy(1.25), "-": () => pages.zoomBy(1 / 1.25), 0: () => pages.setZoom(1),
  }[event.key];
  const isList = event.target.closest?.("#source") && !["+", "-", "0"].includes(event.key);
  if (!act || isList) return;
  event.preventDefault();
  act();
});

function complain(text) {
  byId("status").className = "bad";
  byId("status").textContent = text;
}

let latest;
let showing = Promise.resolve();
const events = new EventSource("events");

// Shows one state after another. If a request fails, tries again, unless there is a newer state by then; with a
// new connection to the service, there is.
function follow(state) {
  latest = state;
  showing = showing.then(() => show(state)).catch((error) => {
    good = 0;
    if (events.readyState !== EventSource.OPEN) return;
    complain(`not all could be loaded: ${error.message}`);
    setTimeout(() => { if (latest === state && events.readyState === EventSource.OPEN) follow(state); }, RETRY_AFTER);
  });
}

events.addEventListener("message", (event) => follow(JSON.parse(event.data)));
events.addEventListener("error", () => complain("the service has ended"));
