// Exit statuses. They mean what they mean for grep.
//
//                  match                     check             normalize
//     EXIT_YES     a key is selected         no rule is bad    every URL has a canonical form
//     EXIT_NO      no key is selected        a rule is bad     -
//     EXIT_TROUBLE a key or a rule is bad    -                 a URL has no canonical form
//
// EXIT_TROUBLE is also for bad options, a file that cannot be read, and no memory. With match -q, a
// selected key gives EXIT_YES even when other keys are bad.
#pragma once

namespace cli {

inline constexpr int EXIT_YES = 0;
inline constexpr int EXIT_NO = 1;
inline constexpr int EXIT_TROUBLE = 2;

}  // namespace cli
