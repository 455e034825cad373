#!/usr/bin/env bash
# What failed in a log of ctest, in short: a line for each test and the lines that tell why, or the last ones where none
# does. Usage: failures.sh LOG
awk '
/^[0-9]+\/[0-9]+ Testing: / { name = $3; why = last = ""; lines = 0; next }
/^(FAIL!|XPASS|QFATAL)|^   (Loc|Actual|Expected)|Traceback|[A-Za-z]*Error:|^(FAIL|ERROR):|ERROR: .*Sanitizer/ { if (++lines <= 12) why = why "\n    " $0 }
/^<end of output>/ { inside = 0 }
inside && NF && !/^-+$/ { tail[++n] = $0 }
/^Output:/ { inside = 1; n = 0 }
/^Test (Failed|timed out)|^Test .*Exception/ {
    print name ": " $0
    if (why == "")
        for (i = n > 8 ? n - 7 : 1; i <= n; ++i)
            last = last "\n    " tail[i]
    print substr(why == "" ? last : why, 2)
}' "$1" | cut -c1-240
