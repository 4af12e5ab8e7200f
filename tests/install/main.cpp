// SPDX-License-Identifier: Apache-2.0
#include <iostream>
#include <string>

#include "chinese/LexSegPos.h"

int main(int argc, char** argv) {
  Tolvek::LexSegPos lexer;
  if (argc != 2 || !lexer.Load(argv[1], true)) return 1;  // the folder of the models
  for (std::string line, words; std::getline(std::cin, line);) {
    lexer.SegPosSentence(line, words, true);  // false: without tags
    std::cout << words << '\n';
  }
}
