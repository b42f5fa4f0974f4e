#include <chrono>
#include <exception>

#include "common/standardDescriptors.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/process/operatorLog.h"
#include "oltmgrd/process/options.h"
#include "oltmgrd/process/process.h"

namespace {

constexpr std::chrono::milliseconds kFlushLimit{300};

int run(int argc, char** argv) {
    try {
        return oltmgrd::runProcess(oltmgrd::readOptions(argc, argv));
    } catch (const oltmgrd::StartError& error) {
        oltmgrd::tellOperator(error.what());
        return error.status();
    } catch (const std::exception& error) {
        oltmgrd::tellOperator(error.what());
        return oltmgrd::kFailed;
    }
}

}  // namespace

int main(int argc, char** argv) {
    common::openStandardDescriptors();
    const int status = run(argc, argv);
    oltmgrd::flushLog(kFlushLimit);
    return status;
}
