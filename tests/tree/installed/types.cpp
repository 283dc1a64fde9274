// Prints the names of all registered types without referring to them: a linker that takes only
// referenced objects would omit them.
#include <Mox/Type.h>

#include <iostream>

int main() {
    for (auto const* type : Mox::TypeRegistry::types()) {
        std::cout << type->name() << '\n';
    }
}
