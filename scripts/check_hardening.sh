#!/usr/bin/env bash
# check_hardening.sh LIBRARY COMMAND COMPILE_COMMANDS: fails unless the shared library and the command are hardened as
# cmake/CompilerOptions.cmake says, and names what is missing. COMPILE_COMMANDS is the build's compile_commands.json.
#
#     symbols are bound at the start, and read-only from then on     BIND_NOW, RELRO
#     memory is writable or code, never both                         GNU_STACK, segments, text relocations
#     code lies at a random address; the loader searches no folder   PIE, RPATH
#     a buffer that overflows ends the process                       stack protector, fortified calls
#     no frame steps over the page that guards a stack               stack probes
#     what is called through a pointer starts with a landing pad     endbr64, bti c
set -euo pipefail
usage='usage: check_hardening.sh LIBRARY COMMAND COMPILE_COMMANDS'
library=${1:?$usage}
command=${2:?$usage}
compile_commands=${3:?$usage}

failures=0
fail() {
    echo "check_hardening.sh: $*" >&2
    failures=$((failures + 1))
}

# expect FILE TEXT PATTERN WHAT: fails unless a line of the text has the pattern.
expect() {
    grep -qE -- "$3" <<<"$2" || fail "$1: $4"
}

# refuse FILE TEXT PATTERN WHAT: fails when a line of the text has the pattern.
refuse() {
    ! grep -qE -- "$3" <<<"$2" || fail "$1: $4"
}

# The first instruction of each function of the library, as NAME INSTRUCTION.
first_instructions() {
    objdump --disassemble --no-show-raw-insn --wide "$library" |
        awk 'name != "" { print name, $2; name = "" }
             match($0, /<[^>]*>:$/) { name = substr($0, RSTART + 1, RLENGTH - 3) }'
}

# check_file FILE: what the library and the command have in common.
check_file() {
    local file=$1 dynamic segments imports code
    dynamic=$(readelf --dynamic --wide "$file")
    segments=$(readelf --program-headers --wide "$file")
    imports=$(nm --dynamic --undefined-only --format=posix "$file")
    expect "$file" "$dynamic" '\(FLAGS\).*BIND_NOW|\(BIND_NOW\)|\(FLAGS_1\).*NOW' 'no BIND_NOW: symbols are bound lazily'
    expect "$file" "$segments" '^ *GNU_RELRO ' 'no RELRO: relocated data stays writable'
    expect "$file" "$segments" '^ *GNU_STACK ' 'no GNU_STACK: the stack may be executable'
    refuse "$file" "$segments" '^ *GNU_STACK .* R?W?E ' 'the stack is executable'
    refuse "$file" "$segments" '^ *LOAD .* R?WE ' 'a segment is writable and executable'
    refuse "$file" "$dynamic" '\(TEXTREL\)|\(FLAGS\).*TEXTREL' 'text relocations: code is written to at the start'
    refuse "$file" "$dynamic" '\((RPATH|RUNPATH)\)' 'an RPATH or RUNPATH'
    expect "$file" "$imports" '^__stack_chk_fail' 'no stack protector: __stack_chk_fail is not imported'
    if [[ $machine == x86-64 ]]; then
        # A page is probed after each step of its size, and the rest of a frame is less.
        code=$(objdump --disassemble --no-show-raw-insn --wide "$file" | grep -vE 'sub +[$]0x1000,%rsp' || true)
        refuse "$file" "$code" 'sub +[$]0x[0-9a-f]{4,8},%rsp' 'no stack probes: a frame of several pages is one step'
    fi
}

case $(readelf --file-header "$library") in
    *X86-64*) machine=x86-64 landing_pad='endbr64' ;;
    *AArch64*) machine=AArch64 landing_pad='(bti|paci[ab]sp)' ;;
    *) machine=other landing_pad='' ;;
esac
check_file "$library"
check_file "$command"

expect "$command" "$(readelf --file-header "$command")" '^ *Type: +DYN ' 'not position independent'
expect "$command" "$(readelf --dynamic --wide "$command")" '\(FLAGS_1\).* PIE( |$)' 'no PIE mark'

exported=$(nm --dynamic --defined-only --format=posix "$library" | cut -d ' ' -f 1)
if [[ -n $landing_pad ]]; then
    functions=$(first_instructions)
    for name in $exported; do
        expect "$library" "$functions" "^$name $landing_pad\$" "no landing pad at $name"
    done
fi

# The compiler makes a call a fortified one where it knows the size of what is written to: g++ knows some in the command,
# clang 14 none. The library writes through pointers only, so that the flag itself is all there is to see.
if [[ $(readelf --string-dump .comment "$command") != *clang* ]]; then
    expect "$command" "$(nm --dynamic --undefined-only --format=posix "$command")" '^__[a-z]+_chk[@ ]' 'no fortified call'
fi
unfortified=$(grep '"command":' "$compile_commands" | grep -vE -- '-D *_FORTIFY_SOURCE=[23]' |
    sed -E 's/.* -c ([^ ",]+).*/\1/' || true)
if [[ -n $unfortified ]]; then
    fail "compiled without _FORTIFY_SOURCE: $(wc -w <<<"$unfortified") sources, the first is ${unfortified%%$'\n'*}"
fi

if [[ $failures -gt 0 ]]; then
    exit 1
fi
echo "check_hardening.sh: library and command are hardened; $(wc -w <<<"$exported") functions exported"
