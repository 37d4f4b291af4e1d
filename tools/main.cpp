#include "tools/CommandLine.h"

#include <iostream>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return zorbel::tools::runCommandLine(arguments, {std::cout, std::cerr});
}
