#include "operatorLog.h"

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
    const std::string line = "oltmgrd: " + text + "\n";
    std::fputs(line.c_str(), stderr);
    if (logsToFile) {
        Log& log = singleton<Log>::instance();
        log.setMsgLevel(LogImpl::logLevelError);
        log.write(line);
    }
}

}  // namespace oltmgrd
