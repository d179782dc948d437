# What only the whole program shows: wrong usage, and output that can't be written. Arguments: abctool, zoltexport.
fails() { # STATUS SENTENCE COMMAND...
    status=$1 sentence=$2
    shift 2
    problem=$("$@" 2>&1 >/dev/full)
    got=$?
    case "$got $problem" in
        "$status error: "*"$sentence"*) ;;
        *) echo "$*: status $got, $problem"; exit 1 ;;
    esac
}
fails 2 "no command bogus" "$1" bogus
fails 2 "command is needed" "$1"
fails 2 "FILE is required" "$1" info
fails 2 "needs --key or --time" "$1" pose a.abc --anim run
fails 1 "a.abc: there is no such file" "$1" check a.abc
for program; do
    fails 1 "can't be written" "$program" --help
    fails 1 "can't be written" "$program" --version
done
