#include "completion.h"
#include "exit_codes.h"
#include "nearest_name.h"
#include "text.h"
#include <array>

namespace velmont::cli {

namespace {

constexpr std::array<std::string_view, 2> kShells{"bash", "zsh"};

/// Bash cuts words at "=" and ":": they are put together again, and what was cut off in front of the last piece is
/// taken off the answers.
constexpr std::string_view kBash = R"(# Completion of velmont for bash. It asks the program itself.
_velmont() {
    local rest=${COMP_LINE:0:COMP_POINT} word words=() i kind text current prefix has_files=
    for ((i = 0; i <= COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if ((i == 0)) || [[ $rest == [[:space:]]* ]]; then
            words+=('')
            rest=${rest#"${rest%%[![:space:]]*}"}
        fi
        ((i < COMP_CWORD)) || word=$rest
        words[${#words[@]} - 1]+=$word
        rest=${rest:${#word}}
    done
    current=${words[${#words[@]} - 1]}
    prefix=${current%"${current##*[=:]}"}
    [[ $prefix == *[=:]* && $COMP_WORDBREAKS == *[=:]* ]] || prefix=
    COMPREPLY=()
    while IFS=' ' read -r kind text; do
        text=${text%%$'\t'*}
        if [[ $kind == word && $text == "$current"* ]]; then
            COMPREPLY+=("${text#"$prefix"}")
        elif [[ $kind == file ]]; then
            while IFS= read -r word; do
                has_files=1
                word=$text$word
                COMPREPLY+=("${word#"$prefix"}")
            done < <(compgen -f -- "${current#"$text"}")
        fi
    done < <("${words[0]/#\~\//$HOME/}" complete -- "${words[@]:1}" 2>/dev/null)
    # Quotes what has to be, but "=" too: only where there are files.
    [[ -z $has_files ]] || compopt -o filenames 2>/dev/null
    [[ ${#COMPREPLY[@]} -ne 1 || ${COMPREPLY[0]} != *= ]] || compopt -o nospace 2>/dev/null
}
complete -F _velmont velmont
)";

constexpr std::string_view kZsh = R"(#compdef velmont
# Completion of velmont for zsh. It asks the program itself.
_velmont() {
    local line kind text help prefix has_files=
    local -a whole open
    for line in "${(@f)$("${(Q)words[1]/#\~\//$HOME/}" complete -- "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)}"; do
        kind=${line%% *} text=${line#* }
        case $kind in
        file) has_files=1 prefix=$text ;;
        word)
            help=${text#*$'\t'} text=${text%%$'\t'*}
            if [[ $text == *= ]]; then open+=("${text//:/\\:}:$help"); else whole+=("${text//:/\\:}:$help"); fi
            ;;
        esac
    done
    (( $#open )) && _describe -t fields field open -S ''
    (( $#whole )) && _describe -t words word whole
    if [[ -n $has_files ]]; then
        [[ -z $prefix ]] || compset -P "${(b)prefix}"
        _files
    fi
}
if [[ $zsh_eval_context[-1] == loadautofunc ]]; then _velmont "$@"; else compdef _velmont velmont; fi
)";

} // namespace

std::span<const std::string_view> completionShells()
{
    return kShells;
}

std::string completionScript(std::string_view shell)
{
    if (shell == "bash")
        return std::string(kBash);
    if (shell == "zsh")
        return std::string(kZsh);
    throw Failure(ExitCode::Usage,
                  shell.empty() ? concat("completion needs a shell: ", joined({"bash", "zsh"}))
                                : concat("completion serves no shell ", inQuotes(shell), "; it serves ",
                                         joined({"bash", "zsh"}), didYouMean(shell, kShells)));
}

} // namespace velmont::cli
