// The site's own behaviour: colours, the menu of small screens, the search. Works from a file system: what it needs
// comes by <script>, never by a request.
(function () {
  "use strict";
  var root = document.documentElement;
  var button = document.getElementById("theme-button");
  button.addEventListener("click", function () {
    var system = matchMedia("(prefers-color-scheme: dark)").matches;
    var dark = root.classList.contains("dark-mode") || (system && !root.classList.contains("light-mode"));
    root.className = dark ? "light-mode" : "dark-mode";
    try { localStorage.setItem("theme", dark ? "light" : "dark"); } catch (error) { /* only this page, then */ }
  });

  var menu = document.getElementById("menu-button");
  var nav = document.getElementById("site-nav");
  function showMenu(shown) {
    root.classList.toggle("menu-open", shown);
    menu.setAttribute("aria-expanded", String(shown));
  }
  menu.addEventListener("click", function () { showMenu(!root.classList.contains("menu-open")); });
  document.addEventListener("click", function (event) {
    if (!nav.contains(event.target) && !menu.contains(event.target)) showMenu(false);
  });
  var current = nav.querySelector("[aria-current]");
  if (current && nav.scrollHeight > nav.clientHeight) nav.scrollTop = current.offsetTop - nav.clientHeight / 3;

  // Every code block can be copied.
  document.querySelectorAll("div.fragment").forEach(function (fragment) {
    var copy = document.createElement("button");
    copy.type = "button";
    copy.className = "copy";
    copy.textContent = "Copy";
    copy.addEventListener("click", function () {
      var lines = Array.prototype.map.call(fragment.querySelectorAll(".line"), function (line) {
        return line.textContent;
      });
      var text = lines.join("\n").replace(/\u00a0/g, " ") + "\n";
      function done() {
        copy.textContent = "Copied";
        setTimeout(function () { copy.textContent = "Copy"; }, 1500);
      }
      if (navigator.clipboard) navigator.clipboard.writeText(text).then(done);
      else {
        var area = document.createElement("textarea");
        area.value = text;
        document.body.appendChild(area);
        area.select();
        document.execCommand("copy");
        area.remove();
        done();
      }
    });
    var frame = document.createElement("div");
    frame.className = "fragment-frame";
    fragment.parentNode.insertBefore(frame, fragment);
    frame.appendChild(fragment);
    frame.appendChild(copy);
  });

  // Search. Entries: [name, where, kind, address, text, 1 for what few look for]; the kinds, in the order in which equals
  // are shown. Hyphens do not count: a plugin is a plug-in.
  var kinds = ["class", "type", "function", "macro", "constant", "header", "page", "section"];
  var field = document.getElementById("search-field");
  var list = document.getElementById("search-results");
  var entries = null, shown = [], chosen = -1;

  function folded(text) { return text.toLowerCase().replace(/-/g, ""); }

  function load(then) {
    if (entries) return then();
    var script = document.createElement("script");
    script.src = "search_data.js";
    script.onload = function () {
      entries = window.orvelSearchData.map(function (entry) {
        var name = folded(entry[0]);
        return {
          name: name,
          // A class is looked for without its first letter, and a name by any of its parts.
          bare: /^[CIS][A-Z]/.test(entry[0]) ? name.slice(1) : name.replace(/^(?:qv_res_|qv_?)/, ""),
          parts: folded(entry[0].replace(/([a-z0-9])([A-Z])/g, "$1 $2")).split(/[^a-z0-9]+/),
          full: (entry[1] + "::" + entry[0]).toLowerCase(),
          text: folded(entry[4]),
          entry: entry
        };
      });
      then();
    };
    document.head.appendChild(script);
  }

  // How well a word fits, the less the better; Infinity: not at all.
  function fit(item, word) {
    if (item.name === word) return 0;
    if (item.bare === word) return 1;
    if (item.full === word || item.full.endsWith("::" + word)) return 1;
    if (item.name.startsWith(word) || item.bare.startsWith(word)) return 3 + (item.name.length - word.length) / 50;
    if (item.parts.some(function (part) { return part.startsWith(word); })) return 5 + item.name.length / 50;
    if (item.full.startsWith(word)) return 6;
    if (item.name.includes(word)) return 7 + item.name.length / 50;
    var place = word.length > 2 ? item.text.indexOf(word) : -1;
    // The members of a class that is called so, behind the pages that speak of it.
    if (place < 0) return word.length > 2 && item.full.includes(word) ? 20 : Infinity;
    return 14 + (place > 0 && /[a-z0-9]/.test(item.text[place - 1]) ? 4 : 0);
  }

  function find(query) {
    var words = folded(query).replace(/\(\)$/, "").split(/\s+/).filter(Boolean);
    var found = [];
    entries.forEach(function (item) {
      var sum = 0;
      for (var i = 0; i < words.length; ++i) {
        sum += fit(item, words[i]);
        if (sum === Infinity) return;
      }
      // A class before its members, whatever is named alike.
      sum = sum / words.length + kinds.indexOf(item.entry[2]) / 4 + (item.full.includes("bremofw") ? 2 : 0) +
            (item.entry[5] ? 3 : 0);
      found.push([sum, item.entry]);
    });
    found.sort(function (a, b) {
      return a[0] - b[0] || a[1][0].length - b[1][0].length || (a[1][3] < b[1][3] ? -1 : 1);
    });
    // What a class inherits shows where it comes from, unless the class is asked for as well.
    var own = {};
    function key(pair) { return pair[1][0] + "\n" + pair[1][4]; }
    found.forEach(function (pair) { if (!pair[1][5]) own[key(pair)] = true; });
    if (words.length === 1) found = found.filter(function (pair) { return !pair[1][5] || !own[key(pair)]; });
    return found.slice(0, 40).map(function (pair) { return pair[1]; });
  }

  function element(tag, name, text) {
    var made = document.createElement(tag);
    made.className = name;
    made.textContent = text;
    return made;
  }

  function snippet(text, query) {
    var word = query.toLowerCase().split(/\s+/)[0];
    var place = text.toLowerCase().indexOf(word);
    var from = place > 60 ? text.lastIndexOf(" ", place - 40) + 1 : 0;
    return (from > 0 ? "... " : "") + text.slice(from, from + 140) + (text.length > from + 140 ? " ..." : "");
  }

  function show(query) {
    list.textContent = "";
    chosen = -1;
    shown = query ? find(query) : [];
    shown.forEach(function (entry, index) {
      var link = element("a", "result", "");
      link.href = entry[3];
      link.id = "result-" + index;
      link.setAttribute("role", "option");
      var head = element("span", "result-head", "");
      head.appendChild(element("span", "result-name", entry[0]));
      if (entry[1]) head.appendChild(element("span", "result-where", entry[1]));
      head.appendChild(element("span", "result-kind", entry[2]));
      link.appendChild(head);
      if (entry[4]) link.appendChild(element("span", "result-text", snippet(entry[4], query)));
      list.appendChild(link);
    });
    if (query && shown.length === 0) {
      list.appendChild(element("p", "result-none", "Nothing is called so, and no page says it."));
    }
    list.hidden = !query;
    field.setAttribute("aria-expanded", String(!list.hidden));
    if (shown.length > 0) choose(0);
  }

  function choose(index) {
    var items = list.querySelectorAll(".result");
    if (chosen >= 0) items[chosen].classList.remove("chosen");
    chosen = Math.max(0, Math.min(index, items.length - 1));
    items[chosen].classList.add("chosen");
    items[chosen].scrollIntoView({block: "nearest"});
    field.setAttribute("aria-activedescendant", items[chosen].id);
  }

  function close() {
    list.hidden = true;
    field.setAttribute("aria-expanded", "false");
  }

  field.addEventListener("focus", function () { load(function () { if (field.value) show(field.value.trim()); }); });
  field.addEventListener("input", function () { load(function () { show(field.value.trim()); }); });
  field.addEventListener("keydown", function (event) {
    if (event.key === "ArrowDown" || event.key === "ArrowUp") {
      if (shown.length > 0) choose(chosen + (event.key === "ArrowDown" ? 1 : -1));
      event.preventDefault();
    } else if (event.key === "Enter") {
      event.preventDefault();
      if (chosen >= 0 && !list.hidden) {
        location.href = shown[chosen][3];
        close();
      }
    } else if (event.key === "Escape") {
      close();
      field.blur();
    }
  });
  list.addEventListener("click", close);
  document.addEventListener("click", function (event) {
    if (!document.getElementById("search").contains(event.target)) close();
  });
  document.addEventListener("keydown", function (event) {
    if (event.key === "/" && event.target.tagName !== "INPUT" && !event.ctrlKey && !event.metaKey) {
      field.focus();
      event.preventDefault();
    }
  });

  // The part of the page that is read is marked in its table of contents.
  var toc = document.querySelector(".contents > .toc");
  if (toc) {
    var parts = Array.prototype.map.call(toc.querySelectorAll("a"), function (link) {
      return [link, document.getElementById(decodeURIComponent(link.hash.slice(1)))];
    }).filter(function (pair) { return pair[1]; });
    var mark = function () {
      var active = null;
      parts.forEach(function (pair) {
        pair[0].classList.remove("active");
        if (pair[1].getBoundingClientRect().top < 100) active = pair[0];
      });
      if (active) active.classList.add("active");
    };
    addEventListener("scroll", mark, {passive: true});
    mark();
  }
}());
