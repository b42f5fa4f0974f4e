#include "oltmgrd/process/operatorLog.h"

#include <unistd.h>

#include <cstdio>

#include "Log.h"

namespace oltmgrd {
namespace {

bool logsToFile = false;

}  // namespace

void setLogsToFile(bool toFile) {
    logsToFile = toFile;
}

void tellOperator(const std::string& text) {
    const std::string line = "oltmgrd: " + text;
    std::fprintf(stderr, "%s\n", line.c_str());
    if (logsToFile) {
        Log& log = singleton<Log>::instance();
        log.setMsgLevel(LogImpl::logLevelError);
        log.write(line);
        log.write("\n");
    }
}

}  // namespace oltmgrd
