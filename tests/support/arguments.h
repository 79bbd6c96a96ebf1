#pragma once

#include <string>
#include <vector>

// The arguments as a program's main function or exec takes them, with a null pointer at their end.
inline std::vector<char*> PointTo(std::vector<std::string>& arguments) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}
