#include "tests/places.h"

namespace lumo::test {

std::string Docs() { return DOCS; }
std::string Samples() { return SAMPLES; }
std::string Binary() { return BINARY; }

}  // namespace lumo::test
