#include "app/Application.h"

int main(int argc, char** argv) {
    return zorbel::runApplication(argc, argv, zorbel::UpdateOrigin::vendor());
}
