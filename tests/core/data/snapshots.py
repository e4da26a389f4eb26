# Run by gdb: stops at each call of Stop and prints frames and registers, and saves the memory. What is printed:
#   STOP <number>
#   FRAME <level> <kind> <name> <pc> <value of r4> ... <value of r11> <sp> <lr>
import gdb
import os

directory = os.environ["SNAPSHOT_DIR"]
gdb.execute("set pagination off")
gdb.execute("set confirm off")
gdb.execute("set backtrace past-main on")
gdb.Breakpoint("*Stop")
registers = ["r%d" % i for i in range(13)] + ["sp", "lr", "pc", "xpsr"]
number = 0
while number < 6:
    gdb.execute("continue", to_string=True)
    print("STOP %d" % number)
    frame = gdb.newest_frame()
    print("LIVE " + " ".join("%x" % (int(frame.read_register(r)) & 0xFFFFFFFF) for r in registers))
    level = 0
    try:
        while frame is not None and frame.is_valid() and level < 32:
            saved = []
            for r in ["r%d" % i for i in range(4, 12)]:
                try:
                    saved.append("%x" % (int(frame.read_register(r)) & 0xFFFFFFFF))
                except (gdb.error, ValueError, TypeError):
                    saved.append("?")
            print("FRAME %d %d %s %x %s" % (level, frame.type(), frame.name(), frame.pc(), " ".join(saved)))
            frame = frame.older()
            level += 1
    except gdb.error as error:
        print("ERROR %s" % error)
    gdb.execute("dump binary memory %s/ram%d.bin 0x20000000 0x20010000" % (directory, number))
    number += 1
gdb.execute("kill")
