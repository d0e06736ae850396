#!/usr/bin/env bash
# check_layers.sh [PROJECT_DIR]: fails unless the includes of the library and of the command go one way.
#
# The library:
#
#                                             +-- ip <------- compound <-----+
#     ruleset.h <- syntax <- core <- lookup <-+-- domain <--- url <----------+-- api
#                                             +-- endpoint <- ipport <-------+
#                                                    ^------- packetfilter <-+
#
# Each folder of src may include what its line in may_include says, by a path from src, and the public header; no two
# headers may include each other, however far around. A new folder fails until it has its line here.
#
# The command has its files in one folder; cli_files says which layer each belongs to:
#
#     text <- values <- types <- loading <- commands <- main
#
#     text       lines in, text and JSON out, exit statuses, threads
#     values     addresses and host names: reading them, and what is wrong with bad ones
#     types      what the command knows of each rule type
#     loading    rule files -> rule set
#     commands   match, check, normalize
#     main       the command line
#
# Each layer may include what its line in cli_may_include says: files of cli by their names, files of src by a path
# from src, and the public headers. Only the four lower layers reach into src. No two headers may include each other
# here either. A new file fails until it has its layer.
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/..}"

declare -A may_include=(
    [syntax]="syntax"
    [core]="syntax core"
    [lookup]="syntax core lookup"
    [ip]="syntax core lookup ip"
    [domain]="syntax core lookup domain"
    [endpoint]="syntax core lookup endpoint"
    [url]="syntax core lookup domain url"
    [ipport]="syntax core lookup endpoint ipport"
    [packetfilter]="syntax core lookup endpoint packetfilter"
    [compound]="syntax core lookup ip compound"
    [api]="syntax core lookup endpoint ip domain url ipport packetfilter compound api"
)

declare -A cli_files=(
    [text]="exit_status file_text input_file json_output line_blocks lines output_buffer progress stop_signal text_input
        text_output workers"
    [values]="address_text host_text"
    [types]="rule_type text_batch ip_rule_type domain_rule_type url_rule_type endpoint_rule_types compound_rule_type"
    [loading]="rule_book rule_handles rule_line rule_loader rule_positions"
    [commands]="match_options explain key_answers answer_writer match_stream match_command check_command normalize_command"
    [main]="main"
)
declare -A cli_may_include=(
    [text]="text src/syntax"
    [values]="text values src/syntax src/core src/domain"
    [types]="text values types src/core src/domain src/ip src/url"
    [loading]="text types loading src/syntax"
    [commands]="text types loading commands"
    [main]="text types commands main"
)

failures=0
fail() {
    echo "check_layers.sh: $*" >&2
    failures=$((failures + 1))
}

# includes FOLDER PATTERN: the #include lines of the folder's files, as `file:line:included` with its delimiters.
includes() {
    grep -rnE --include='*.h' --include='*.hpp' --include='*.cpp' '^[[:space:]]*#[[:space:]]*include\b' "$1" |
        sed -nE "s/^([^:]+:[0-9]+):[[:space:]]*#[[:space:]]*include[[:space:]]*($2).*/\1:\2/p"
}

check_folders() {
    local path
    for path in src/*; do
        if [[ -d $path && -z ${may_include[${path#src/}]:-} ]]; then
            fail "$path is a folder without a line in this script"
        elif [[ $path == *.cpp || $path == *.h ]]; then
            fail "$path belongs into a folder"
        fi
    done
}

check_quoted_includes() {
    local file line included folder
    while IFS=: read -r file line included; do
        included=${included//\"/}
        folder=${file#src/}
        folder=${folder%%/*}
        if [[ ! -f src/$included ]]; then
            fail "$file:$line: \"$included\" is no file of src; includes are written from there"
        elif [[ " ${may_include[$folder]:-} " != *" ${included%%/*} "* ]]; then
            fail "$file:$line: $folder may not include $included"
        fi
    done < <(includes src '"[^"]+"')
}

# The layer of each file of cli, by its name without .h or .cpp.
declare -A cli_layers=()
read_cli_layers() {
    local layer name
    for layer in "${!cli_files[@]}"; do
        for name in ${cli_files[$layer]}; do
            cli_layers[$name]=$layer
            if [[ ! -f cli/$name.cpp && ! -f cli/$name.h ]]; then
                fail "$name has a layer in this script and no file in cli"
            fi
        done
    done
}

check_cli_files() {
    local path name
    for path in cli/*; do
        name=${path#cli/}
        if [[ -d $path ]]; then
            fail "$path is a folder; the files of all layers are in cli itself"
        elif [[ $path == *.cpp || $path == *.h ]] && [[ -z ${cli_layers[${name%.*}]:-} ]]; then
            fail "$path has no layer in this script"
        fi
    done
}

check_cli_includes() {
    local file line included layer target
    while IFS=: read -r file line included; do
        included=${included//\"/}
        file=${file#cli/}
        layer=${cli_layers[${file%.*}]:-}
        target=src/${included%%/*}
        if [[ -f cli/$included ]]; then
            target=${cli_layers[${included%.*}]:-}
        elif [[ ! -f src/$included ]]; then
            fail "cli/$file:$line: \"$included\" is no file of cli or src"
            continue
        fi
        # A file without a layer has failed already.
        if [[ -n $layer && -n $target && " ${cli_may_include[$layer]} " != *" $target "* ]]; then
            fail "cli/$file:$line: $layer may not include $included"
        fi
    done < <(includes cli '"[^"]+"')
}

# In angle brackets stand the public headers and the system's, never a file of src or cli.
check_system_includes() {
    local folder=$1 file line included
    while IFS=: read -r file line included; do
        included=${included//[<>]/}
        if [[ -f src/$included || -f $folder/$included ]]; then
            fail "$file:$line: <$included> is a file of the project and stands in quotes"
        fi
    done < <(includes "$folder" '<[^>]+>')
}

# A host has the public headers and nothing else.
check_public_headers() {
    local file line included
    while IFS=: read -r file line included; do
        fail "$file:$line: a public header may not include $included"
    done < <(includes include '"[^"]+"')
}

# tsort names the members of a cycle on stderr.
check_cycles() {
    local folder=$1 cycle
    if ! cycle=$(includes "$folder" '"[^"]+"' |
        sed -nE "s/^$folder\/([^:]+\.h):[0-9]+:\"(.*)\"\$/\1 \2/p" | tsort 2>&1 >/dev/null); then
        fail "headers of $folder include each other:"$'\n'"$cycle"
    fi
}

check_folders
check_quoted_includes
check_system_includes src
check_public_headers
check_cycles src
read_cli_layers
check_cli_files
check_cli_includes
check_system_includes cli
check_cycles cli
if [[ $failures -gt 0 ]]; then
    exit 1
fi
echo "check_layers.sh: the includes of $(find src -mindepth 1 -type d | wc -l) folders of the library and of" \
    "${#cli_files[@]} layers of the command go one way"
