# Runs a command on a terminal of so many columns, which a terminal emulator draws. Prints as JSON
# the real seconds, all raw bytes, what stood on the last row one after the other, and the text in the
# end, the lines that were scrolled off first.
import fcntl, json, os, pty, struct, sys, termios, time
import pyte

rows, columns = 24, int(sys.argv[1])
child, terminal = pty.fork()
if child == 0:
    fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))
    os.execvp(sys.argv[2], sys.argv[2:])
screen = pyte.HistoryScreen(columns, rows, history=10000)
stream = pyte.ByteStream(screen)
raw, last_row, start = b"", [], time.monotonic()
while True:
    try:
        data = os.read(terminal, 65536)
    except OSError:  # nobody is at the other end
        break
    raw += data
    stream.feed(data)
    if screen.display[-1].rstrip() not in last_row[-1:]:
        last_row.append(screen.display[-1].rstrip())
scrolled = ["".join(line[x].data for x in range(columns)) for line in screen.history.top]
os.waitpid(child, 0)
print(json.dumps({"seconds": time.monotonic() - start, "raw": raw.decode("latin-1"), "last_row": last_row,
                  "text": "".join(line.rstrip() for line in scrolled + screen.display)}))
