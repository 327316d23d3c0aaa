// The page "Search the text": shows the paragraphs and rows of texts.js that have all the words.
"use strict";

function search(query) {
    const words = query.toLowerCase().split(/\s+/).filter((word) => word !== "");
    const found = words.length === 0 ? [] : texts.filter(([, heading, text]) =>
        words.every((word) => (heading + " " + text).toLowerCase().includes(word)));
    document.getElementById("found").replaceChildren(...found.slice(0, 100).map(([target, heading, text]) => {
        const item = document.createElement("li");
        const link = document.createElement("a");
        link.href = target;
        link.textContent = heading;
        item.append(link, document.createElement("br"), text);
        return item;
    }));
    document.getElementById("count").textContent = words.length === 0 ? "" : `${found.length} found`;
}

document.getElementById("query").addEventListener("input", (event) => search(event.target.value));
