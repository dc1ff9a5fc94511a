# Lists what the interface headers declare: INTERFACE(name) and OPERATION(interface, name), in their order.
# Slots that only keep the order have no operation; the numbers tell of them.
/^struct I[A-Za-z]* (: I[A-Za-z]* )?\{/ { interface = $2; print "INTERFACE(" interface ")" }
/^};/ { interface = "" }
interface != "" && match($0, /^ *virtual [^(]*\(/) {
    count = split(substr($0, RSTART, RLENGTH - 1), words, " ")
    print "OPERATION(" interface ", " words[count] ")"
}
