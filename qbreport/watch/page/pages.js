// The pages as images, their thumbnails, and the places of the template's controls on them.
const PIXELS = 96 / 25400;  // of a micrometre, at 100 %
const MOST_DOTS = 480;      // per inch
const THUMBNAIL_DOTS = 36;

const imageOf = (page, dots, version) => `document?format=png&pages=${page}&resolution=${dots}&version=${version}`;

// Loads an image and shows it when it is complete: the one before stays until then.
function replaceImage(image, address) {
  if (image.dataset.wanted === address) return;
  image.dataset.wanted = address;
  const next = new Image();
  next.addEventListener("load", () => { if (image.dataset.wanted === address) image.src = address; });
  next.addEventListener("error", () => { if (image.dataset.wanted === address) delete image.dataset.wanted; });
  next.src = address;
}

export class Pages {
  constructor({ view, thumbnails, page, count, zoom, onControl }) {
    Object.assign(this, { view, thumbnails, page, count, zoomLabel: zoom, onControl });
    this.current = 1;
    this.zoom = 1;
    this.sizes = [];
    this.items = { controls: [], items: [] };
    this.visible = new IntersectionObserver((entries) => {
      for (const entry of entries) {
        entry.target.dataset.visible = entry.isIntersecting ? "yes" : "";
        if (entry.isIntersecting) this.draw(entry.target);
      }
    }, { rootMargin: "400px" });
    view.addEventListener("scroll", () => this.findCurrent(), { passive: true });
    view.addEventListener("click", (event) => this.choose(event));
  }

  // Pages that stay keep their elements, and the view its place.
  show(sizes, version) {
    this.sizes = sizes;
    this.version = version;
    this.resize(this.view, sizes.length, (number) => this.makePage(number));
    this.resize(this.thumbnails, sizes.length, (number) => this.makeThumbnail(number));
    this.count.textContent = sizes.length;
    this.page.max = sizes.length;
    this.layOut();
    for (const image of this.thumbnails.querySelectorAll("img")) this.draw(image);
    this.findCurrent();
  }

  resize(parent, count, make) {
    while (parent.children.length > count) {
      this.visible.unobserve(parent.lastElementChild);
      parent.lastElementChild.remove();
    }
    while (parent.children.length < count) parent.append(make(parent.children.length + 1));
  }

  makePage(number) {
    const page = document.createElement("div");
    page.className = "page";
    page.dataset.page = number;
    const image = document.createElement("img");
    image.alt = `Page ${number}`;
    page.append(image);
    this.visible.observe(page);
    return page;
  }

  makeThumbnail(number) {
    const item = document.createElement("li");
    const button = document.createElement("button");
    const image = document.createElement("img");
    button.type = "button";
    button.setAttribute("aria-label", `Page ${number}`);
    button.addEventListener("click", () => this.goTo(number));
    image.alt = "";
    image.dataset.page = number;
    this.visible.observe(image);
    button.append(image, String(number));
    item.append(button);
    return item;
  }

  layOut() {
    for (const page of this.view.children) {
      const [width, height] = this.sizes[page.dataset.page - 1];
      page.style.width = `${width * PIXELS * this.zoom}px`;
      page.style.height = `${height * PIXELS * this.zoom}px`;
      this.draw(page);
    }
    for (const image of this.thumbnails.querySelectorAll("img")) {
      const [width, height] = this.sizes[image.dataset.page - 1];
      image.style.aspectRatio = `${width} / ${height}`;
    }
    this.zoomLabel.textContent = `${Math.round(this.zoom * 100)} %`;
    this.mark();
  }

  draw(element) {
    if (!element.dataset.visible || this.version === undefined) return;
    if (element.tagName === "IMG") return replaceImage(element, imageOf(element.dataset.page, THUMBNAIL_DOTS, this.version));
    const dots = Math.max(36, Math.min(MOST_DOTS, Math.ceil(96 * this.zoom * devicePixelRatio)));
    replaceImage(element.firstElementChild, imageOf(element.dataset.page, dots, this.version));
  }

  goTo(number) {
    const page = this.view.children[Math.max(1, Math.min(number, this.sizes.length)) - 1];
    if (!page) return;
    this.view.scrollTop = page.offsetTop - 16;
    this.setCurrent(Number(page.dataset.page));
  }

  findCurrent() {
    const pages = [...this.view.children];
    const found = pages.find((page) => page.offsetTop + page.offsetHeight / 2 >= this.view.scrollTop) ?? pages.at(-1);
    if (found) this.setCurrent(Number(found.dataset.page));
  }

  setCurrent(number) {
    this.current = number;
    this.page.value = number;
    [...this.thumbnails.children].forEach((item, index) => {
      const button = item.firstElementChild;
      if (index + 1 === number) button.setAttribute("aria-current", "page");
      else button.removeAttribute("aria-current");
    });
  }

  zoomBy(factor) { this.setZoom(this.zoom * factor); }

  // The place in the middle stays there.
  setZoom(zoom) {
    const { view } = this;
    const part = (view.scrollTop + view.clientHeight / 2) / view.scrollHeight;
    this.zoom = Math.max(0.1, Math.min(zoom, 8));
    this.layOut();
    view.scrollTop = part * view.scrollHeight - view.clientHeight / 2;
  }

  setItems(items) {
    this.items = items;
    this.mark();
  }

  // The control whose box is the smallest around the click.
  choose(event) {
    const page = event.target.closest(".page");
    if (!page) return;
    const box = page.getBoundingClientRect();
    const number = Number(page.dataset.page);
    const [width, height] = this.sizes[number - 1];
    const x = (event.clientX - box.left) / box.width * width;
    const y = (event.clientY - box.top) / box.height * height;
    const reach = 600;  // micrometres: lines are thin
    const hit = this.items.items.filter(([onPage, left, top, wide, high]) => onPage === number &&
      x >= left - reach && x <= left + wide + reach && y >= top - reach && y <= top + high + reach)
      .reduce((best, item) => (!best || item[3] * item[4] <= best[3] * best[4] ? item : best), null);
    this.chosen = hit;
    this.control = hit ? hit[5] : -1;
    this.mark();
    if (hit) this.onControl(this.items.controls[hit[5]]);
  }

  // Shows what a line of the template has drawn: the control that begins there, or above it.
  showLine(line) {
    let best = -1;
    this.items.controls.forEach(([at], index) => {
      if (at > 0 && at <= line && (best < 0 || at > this.items.controls[best][0])) best = index;
    });
    this.control = best;
    this.chosen = this.items.items.find((item) => item[5] === best) ?? null;
    this.mark();
    this.view.querySelector(".mark.chosen")?.scrollIntoView({ block: "nearest" });
    return best < 0 ? null : this.items.controls[best];
  }

  mark() {
    for (const old of this.view.querySelectorAll(".mark")) old.remove();
    if (this.control === undefined || this.control < 0) return;
    const scale = PIXELS * this.zoom;
    for (const item of this.items.items) {
      const [number, x, y, width, height, control] = item;
      const page = this.view.children[number - 1];
      if (control !== this.control || !page) continue;
      const mark = document.createElement("div");
      mark.className = item === this.chosen ? "mark chosen" : "mark";
      Object.assign(mark.style, { left: `${x * scale}px`, top: `${y * scale}px`, width: `${width * scale}px`, height: `${height * scale}px` });
      page.append(mark);
    }
  }
}
