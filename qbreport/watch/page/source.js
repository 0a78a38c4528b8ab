// The lines of the template: where something on a page comes from, and where errors are.
const MOST_LINES = 20000;

export class Source {
  constructor(list, origin, showLine) {
    Object.assign(this, { list, origin, showLine });
    list.addEventListener("click", (event) => this.choose(event.target.closest("li")));
    list.addEventListener("keydown", (event) => {
      const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
      const line = event.target.closest("li");
      if (event.key === "Enter" || event.key === " ") this.choose(line);
      else if (step) this.focus(step > 0 ? line.nextElementSibling : line.previousElementSibling);
      else return;
      event.preventDefault();
    });
  }

  isOf(file) { return file === this.file; }

  async load(file, version) {
    this.file = file;
    const answer = await fetch(`template?version=${version}`);
    if (!answer.ok) return;
    const lines = (await answer.text()).split("\n").slice(0, MOST_LINES);
    const { scrollTop } = this.list;
    while (this.list.children.length > lines.length) this.list.lastElementChild.remove();
    lines.forEach((text, index) => {
      let line = this.list.children[index];
      if (!line) {
        line = document.createElement("li");
        line.tabIndex = index === 0 ? 0 : -1;
        this.list.append(line);
      }
      if (line.textContent !== text) line.textContent = text;
    });
    this.list.scrollTop = scrollTop;
  }

  showErrors(messages) {
    for (const line of this.list.querySelectorAll(".wrong")) line.classList.remove("wrong");
    for (const message of messages) {
      if (message.severity === "error" && this.isOf(message.file)) this.list.children[message.line - 1]?.classList.add("wrong");
    }
  }

  focus(line) {
    if (!line) return;
    for (const other of this.list.querySelectorAll("[tabindex='0']")) other.tabIndex = -1;
    line.tabIndex = 0;
    line.focus({ preventScroll: true });
    line.scrollIntoView({ block: "nearest" });
  }

  goTo(number) {
    this.focus(this.list.children[number - 1]);
  }

  highlight(number) {
    for (const line of this.list.querySelectorAll(".drawn")) line.classList.remove("drawn");
    const line = this.list.children[number - 1];
    line?.classList.add("drawn");
    line?.scrollIntoView({ block: "center" });
  }

  // The origin of something on a page.
  showControl([line, column, kind, content]) {
    this.highlight(line);
    this.origin.textContent = `Line ${line}, column ${column}: ${kind}${content ? ` ${content}` : ""}`;
  }

  choose(line) {
    if (!line) return;
    this.focus(line);
    const number = [...this.list.children].indexOf(line) + 1;
    const control = this.showLine(number);
    if (control) this.showControl(control);
    else this.origin.textContent = `Line ${number} draws nothing by itself.`;
  }
}
