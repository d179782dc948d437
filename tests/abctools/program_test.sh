# What only the whole program shows: wrong usage, and output that can't be written, and that a real
# model comes back from a scene as it was. Arguments: abctool, zoltexport, a scene.
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
failure=$("$1" diff none.abc none.abc --json 2>/dev/null | tr -d '\n')
if [ "$failure" != '{ "error": "none.abc: there is no such file."}' ]; then
    echo "as JSON a failure is $failure"
    exit 1
fi
for program in "$1" "$2"; do
    fails 1 "can't be written" "$program" --help
    fails 1 "can't be written" "$program" --version
done

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export XDG_CONFIG_HOME="$folder" XDG_STATE_HOME="$folder"
"$2" "$3" --all-clips -q -o "$folder/a.abc" && "$1" convert "$folder/a.abc" "$folder/a.glb" &&
    "$2" "$folder/a.glb" --all-clips -q -o "$folder/b.abc" || exit 1
# The scene has a node of its own at the top; all else stays, down to the poses.
differences=$("$1" diff "$folder/a.abc" "$folder/b.abc" --tolerance 0.0001)
if [ $? != 1 ] || echo "$differences" | grep -v '^node '; then
    echo "a model that went through glTF differs: $differences"
    exit 1
fi

# Shells complete what the table of commands has.
"$1" help --completion bash >"$folder/abctool.bash" && "$2" --completion bash >"$folder/zoltexport.bash" || exit 1
completed=$(bash -c '. "$1/abctool.bash"; . "$1/zoltexport.bash"
    complete_words() { COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); "_$1"; echo "${COMPREPLY[*]}"; }
    complete_words abctool po; complete_words abctool pose x.abc --an; complete_words abctool help --completion f; complete_words abctool help pos
    complete_words zoltexport s.gltf --over' - "$folder" | tr '\n' ' ')
if [ "$completed" != "pose --anim fish pose --overwrite " ]; then
    echo "completion gives: $completed"
    exit 1
fi
