// The other formats: PDF and HTML in frames, a sheet as a table, text as it is.
const MOST_ROWS = 2000;

// The rows of a CSV document.
function rowsOf(text) {
  const rows = [[""]];
  let isQuoted = false;
  for (let i = 0; i < text.length; ++i) {
    const c = text[i];
    const row = rows.at(-1);
    if (isQuoted && c === '"' && text[i + 1] === '"') {
      row[row.length - 1] += text[++i];
    } else if (c === '"') {
      isQuoted = !isQuoted;
    } else if (!isQuoted && c === ",") {
      row.push("");
    } else if (!isQuoted && c === "\n") {
      if (rows.length > MOST_ROWS) return rows;
      rows.push([""]);
    } else if (isQuoted || c !== "\r") {
      row[row.length - 1] += c;
    }
  }
  if (rows.at(-1).join("") === "") rows.pop();
  return rows;
}

export class Documents {
  constructor(view) {
    this.view = view;
    this.kind = "";
    this.version = 0;
  }

  show(name, version) {
    this.name = name.replace(/\.[^.]*$/, "");
    this.version = version;
    this.refresh();
  }

  choose(kind) {
    this.kind = kind;
    this.refresh();
  }

  async refresh() {
    const { kind, version } = this;
    if (!kind || version === 0) return;
    if (kind === "pdf" || kind === "html") return this.showFrame(kind);
    const { text, error } = await this.load(`document?format=${kind === "sheet" ? "csv" : "txt"}&version=${version}`);
    if (kind !== this.kind || version !== this.version) return;
    if (error) this.replace(this.paragraph(error));
    else if (kind === "sheet") this.showSheet(rowsOf(text));
    else this.replace(Object.assign(document.createElement("pre"), { textContent: text }));
  }

  async load(address) {
    try {
      const answer = await fetch(address);
      if (answer.ok) return { text: (await answer.text()).replace(/^\ufeff/, "") };
      const { error, messages = [] } = await answer.json();
      return { error: messages.map((message) => message.text).join("; ") || error };
    } catch (error) {
      return { error: error.message };
    }
  }

  // The new content has the scroll position of the old one.
  replace(...content) {
    const { scrollTop, scrollLeft } = this.view;
    this.view.replaceChildren(...content);
    Object.assign(this.view, { scrollTop, scrollLeft });
  }

  paragraph(text) { return Object.assign(document.createElement("p"), { textContent: text }); }

  showFrame(kind) {
    const frame = document.createElement("iframe");
    frame.title = `The document as ${kind.toUpperCase()}`;
    // Neither scripts nor the origin of this page. The viewer of PDF needs what a sandbox takes away.
    if (kind === "html") frame.setAttribute("sandbox", "");
    frame.src = `document?format=${kind}&version=${this.version}`;
    this.view.replaceChildren(frame);
  }

  showSheet(rows) {
    const table = document.createElement("table");
    for (const row of rows) {
      const line = table.insertRow();
      for (const text of row) line.insertCell().textContent = text;
    }
    const link = document.createElement("a");
    link.href = `document?format=xlsx&version=${this.version}`;
    link.download = `${this.name}.xlsx`;
    link.textContent = "Save as XLSX";
    const paragraph = this.paragraph("");
    paragraph.append(link, rows.length > MOST_ROWS ? `; the first ${MOST_ROWS} rows:` : "");
    this.replace(paragraph, table);
  }
}
