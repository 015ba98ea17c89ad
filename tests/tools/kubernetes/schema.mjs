// Checks objects of Kubernetes against its published schema: schema.mjs FOLDER, with the library in
// FOLDER/node_modules. Reads a list of objects, writes a list of texts: what is wrong with each, empty if nothing.
// The schema itself allows members of any name: their names are those of the library's declarations.

import { readFileSync, existsSync } from "node:fs";
import { dirname, resolve } from "node:path";
import { pathToFileURL } from "node:url";

const modules = resolve(process.argv[2], "node_modules");

// The members of the interface that a file declares, each with the file of its own values' interface, if they have one.
function membersOf(file) {
  const text = readFileSync(file, "utf8");
  const body = text.match(/^export interface [^]*?^}/m)?.[0] ?? "";
  const members = {};
  for (const [, member, type] of body.matchAll(/^ {4}"(\w+)"\??: (.*)$/gm)) {
    const name = type.match(/\bI[A-Z]\w+/)?.[0];
    const from = name && text.match(new RegExp(`import {[^}]*\\b${name}\\b[^}]*} from "([^"]+)"`))[1];
    members[member] = from && declaration(file, from);
  }
  return members;
}

function declaration(file, from) {
  const base = from.startsWith(".") ? resolve(dirname(file), from) : resolve(modules, from);
  const found = [base.replace(/\.js$/, "") + ".d.ts", `${base}/index.d.ts`].find(existsSync);
  if (!found) throw new Error(`no declarations of ${from}`);
  return found;
}

function strangeNames(value, file, place) {
  if (Array.isArray(value)) return value.flatMap((each, i) => strangeNames(each, file, `${place}/${i}`));
  const members = file && value !== null && typeof value === "object" ? membersOf(file) : {};
  if (Object.keys(members).length === 0) return []; // a plain value, or one with members of any name
  return Object.entries(value).flatMap(([name, inner]) =>
    name in members ? strangeNames(inner, members[name], `${place}/${name}`) : [`${place} has no ${name}`]);
}

async function check(object) {
  const file = resolve(modules, "kubernetes-models", object.apiVersion, object.kind);
  const model = (await import(pathToFileURL(`${file}.js`)))[object.kind];
  try {
    new model(object).validate();
  } catch (error) {
    return error.message;
  }
  return strangeNames(object, `${file}.d.ts`, "data").join(", ");
}

let text = "";
for await (const piece of process.stdin) text += piece;
console.log(JSON.stringify(await Promise.all(JSON.parse(text).map(check))));
