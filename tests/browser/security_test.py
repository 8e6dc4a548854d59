# Strangers at the door of `k4sim panel`: security_test.py K4SIM PROGRAM
# Each gets an answer or a closed connection, and the run goes on untouched.
import json, re, signal, socket, subprocess, sys

k4sim, program = sys.argv[1:]


def start(*options):
    panel = subprocess.Popen([k4sim, "panel", "--operator", "auto", *options, "--", program, "run"],
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    line = panel.stdout.readline()
    found = re.fullmatch(r"http://127\.0\.0\.1:(\d+)/#([0-9a-f]{32})\n", line)
    assert found, line + panel.stderr.read()
    return panel, int(found[1]), found[2]


def console_until(process, text):
    while text not in (line := process.stdout.readline()):
        assert line, "the program is gone"


panel, port, token = start()
host = f"127.0.0.1:{port}"


def ask(text, wait=20):
    with socket.create_connection(("127.0.0.1", port), timeout=wait) as line:
        answer = b""
        try:
            line.sendall(text.encode("latin-1"))
            while b"\r\n\r\n" not in answer and (part := line.recv(65536)):
                answer += part
        except ConnectionError:
            pass
        return int(answer.split()[1]) if answer else "closed"


def get(path="/", **headers):
    return f"GET {path} HTTP/1.1\r\nHost: {headers.pop('Host', host)}\r\n" + \
        "".join(f"{name}: {value}\r\n" for name, value in headers.items()) + "\r\n"


def post(path, body, said=token, client="abc", length=None, extra=""):
    return f"POST {path} HTTP/1.1\r\nHost: {host}\r\nX-K4-Token: {said}\r\nX-K4-Client: {client}\r\n" + \
        f"{extra}Content-Length: {len(body) if length is None else length}\r\n\r\n{body}"


press = json.dumps({"action": "press 5"})
cases = [
    (get(), 200),
    (get("/api/scenario"), 200),
    (get(Host=f"localhost:{port}"), 200),
    (get("/nothing"), 404),
    (get("/../../etc/passwd"), 404),
    (get(Host="evil.example"), 403),
    (get(Host=f"evil.example:{port}"), 403),
    (get(Origin="http://evil.example"), 403),
    (get(Origin="null"), 403),
    ("GET / HTTP/1.1\r\n\r\n", 403),
    (f"GET / HTTP/1.1\r\nHost: {host}\r\nHost: evil.example\r\n\r\n", 403),
    (f"PUT / HTTP/1.1\r\nHost: {host}\r\nContent-Length: 0\r\n\r\n", 405),
    (f"OPTIONS /api/do HTTP/1.1\r\nHost: {host}\r\n\r\n", 405),
    (get(X="a" * 9000), 431),
    ("no request at all\r\n\r\n", 400),
    (post("/api/take", "{}", said="0" * 32), 403),
    (post("/api/take", "{}", said=""), 403),
    (post("/api/take", "{}", client="<b>"), 403),
    (post("/api/take", "{}", extra="Origin: http://evil.example\r\n"), 403),
    (post("/api/do", press), 409),                   # who does not operate
    (post("/api/take", "{}"), 204),
    (post("/api/take", "{}", client="other"), 409),
    (post("/api/do", press, client="other"), 409),
    (post("/api/do", press), 204),
    (post("/api/do", "no json"), 400),
    (post("/api/do", "[" * 60000), 400),
    (post("/api/do", json.dumps({"action": "press 5\nstep"})), 400),
    (post("/api/pace", json.dumps({"pace": "-1"})), 400),
    (post("/api/start", json.dumps({"board": "aes", "operator": "none", "held": "x"})), 400),
    (post("/api/do", "", length=65537), 413),
    (post("/api/do", "half", length=100), "closed"),  # and a client that stalls
    ("GET / HT", "closed"),
]
failed = [(text[:70], wanted, got) for text, wanted in cases if (got := ask(text)) != wanted]
assert not failed, failed

# A thousand at once, most of which say nothing: those that are served keep their stream.
crowd = [socket.create_connection(("127.0.0.1", port), timeout=20) for _ in range(1000)]
held = sum(1 for line in crowd[100:] if line.recv(1) != b"") # closed at once
assert held == 0, held
for line in crowd:
    line.close()
assert ask(get()) == 200

# The port is taken: the next one. None is left: one line, and status 2.
other, next_port, other_token = start("--port", str(port))
assert next_port > port and other_token != token
console_until(other, "Microphone input")
other.send_signal(signal.SIGTERM)
assert other.wait(20) == 250
for options, wanted in [(["--listen", "example"], '"example" is no IP address; say 127.0.0.1'),
                        (["--listen", "192.0.2.1"], "no port from 8470 to 8569 of 192.0.2.1 can be listened at"),
                        (["--port", "0"], '--port: "0" is no port')]:
    run = subprocess.run([k4sim, "panel", *options, program], capture_output=True, text=True)
    assert run.returncode == 2 and run.stderr.count("\n") == 1 and wanted in run.stderr, run

# Untouched: the operator went on, and was not hindered. Who took the panel, and looks at no
# stream, was gone after ten seconds.
assert ask(post("/api/do", press)) == 409
assert ask(post("/api/take", "{}")) == 204
assert ask(post("/api/pace", json.dumps({"pace": "max"}))) == 204
console_until(panel, "Selftest exits")
errors = panel.stderr.readline()
assert "PASSED: 6 of 6 rows OK" in errors, errors
panel.send_signal(signal.SIGINT)
assert panel.wait(20) == 0
print("passed: strangers")
