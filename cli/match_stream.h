// The lines of standard input, answered in blocks by several threads.
//
//                  read          answer              write
//                one thread    all threads         one thread
//     input ---> | block 4 |   | block 2 |  ...    | block 0 | ---> output
//                              | block 3 |         | block 1 |
//
// A thread takes an empty block, fills it when no other thread reads, and answers its keys. Whoever has
// answered the block that is next in the output writes it, and those after it that are answered
// already. So no thread waits for another one but to read, and when all blocks are full.
//
// Cost: twice as many blocks as threads, or as many with any order of output, whatever the input.
#pragma once

#include "answer_writer.h"
#include "input_file.h"
#include "key_answers.h"
#include "match_options.h"

namespace cli {

// Answers the lines of a file until it ends or enough keys are selected. With isLineByLine each line is
// answered and written before the next one is looked at, in one thread. Throws std::system_error when
// reading or writing fails and std::length_error for a line that is too long, both after the answers to
// the lines before it are written; and std::bad_alloc.
void answerStream(const InputFile& input, const KeyAnswerer& answerer, const MatchOptions& options,
                  bool isLineByLine, AnswerWriter& writer);

}  // namespace cli
