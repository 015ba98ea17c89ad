// A reporter for `node --test`: which tests were passed and which skipped, with the reasons, as JSON.

const SUITE = "suite";

export default async function* (events) {
  const passed = [];
  const skipped = {};
  for await (const { type, data } of events) {
    if (type !== "test:pass" || data.details?.type === SUITE) continue;
    const name = `web.${data.name}`;
    if (data.skip === undefined && data.todo === undefined) passed.push(name);
    else skipped[name] = String(data.skip ?? data.todo);
  }
  yield JSON.stringify({ passed, skipped });
}
