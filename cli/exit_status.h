// Exit statuses, which mean what grep's mean. Trouble is a bad option, key or URL, a file that cannot be
// read, or no memory; bad rules are trouble for match, and the answer "no" of check.
#pragma once

namespace cli {

inline constexpr int EXIT_YES = 0;  // a key was selected, no rule is bad, all URLs were normalized
inline constexpr int EXIT_NO = 1;   // no key was selected, a rule is bad
inline constexpr int EXIT_TROUBLE = 2;

}  // namespace cli
