#include <cstdio>
#include <exception>

#include "oltmgrd/files/errors.h"
#include "oltmgrd/process/options.h"
#include "oltmgrd/process/process.h"

int main(int argc, char** argv) {
    try {
        return oltmgrd::runProcess(oltmgrd::readOptions(argc, argv));
    } catch (const oltmgrd::StartError& error) {
        std::fprintf(stderr, "oltmgrd: %s\n", error.what());
        return error.status();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "oltmgrd: %s\n", error.what());
        return oltmgrd::kFailed;
    }
}
