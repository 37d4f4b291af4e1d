#include "app/Application.h"
#include "demo/update/DemoUpdateOrigin.h"

// The viewer of the demonstration: the program itself, but for whose releases it is offered.
int main(int argc, char** argv) {
    return zorbel::runApplication(argc, argv, zorbel::demoUpdateOrigin());
}
