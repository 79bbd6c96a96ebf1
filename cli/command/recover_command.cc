#include <CLI/CLI.hpp>
