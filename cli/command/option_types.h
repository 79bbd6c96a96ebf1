#pragma once

// CLI11's types, whose headers take seconds to compile.
namespace CLI {
class App;
class Option;
}  // namespace CLI
