// What goes to the run, and what comes from it.

const stored = (name, make) => {
  const value = sessionStorage.getItem(name) ?? make();
  sessionStorage.setItem(name, value);
  return value;
};

// The printed address ends with the token; it does not stay in the address that is shown.
if (location.hash.length > 1) {
  sessionStorage.setItem("token", location.hash.slice(1));
  history.replaceState(null, "", "/");
}
const token = sessionStorage.getItem("token") ?? "";
export const client = stored("client", () => {
  const bytes = crypto.getRandomValues(new Uint8Array(12));
  return Array.from(bytes, (byte) => byte.toString(16).padStart(2, "0")).join("");
});

export const mayOperate = token !== "";

async function send(path, body) {
  try {
    const answer = await fetch(path, {
      method: "POST",
      headers: { "Content-Type": "application/json", "X-K4-Token": token, "X-K4-Client": client },
      body: JSON.stringify(body ?? {}),
    });
    return answer.ok ? "" : (await answer.text()).trim();
  } catch {
    return "k4sim does not answer";
  }
}

// One after the other: a key must not come up before it goes down. Tells why not, or "".
let last = Promise.resolve("");
export function post(path, body) {
  last = last.then(() => send(path, body));
  return last;
}

// An action as in a scenario. What was refused is told to `onRefusal`.
let tellRefusal = () => {};
export const onRefusal = (tell) => { tellRefusal = tell; };
export async function act(action) {
  const why = await post("/api/do", { action });
  tellRefusal(why);
  return why === "";
}

// Calls see(message) with all that comes, and lost(true) while nothing does.
export function listen(see, begin, lost) {
  const source = new EventSource("/events?client=" + client);
  source.onopen = () => { begin(); lost(false); };
  source.onmessage = (event) => see(JSON.parse(event.data));
  source.onerror = () => lost(true);
}
