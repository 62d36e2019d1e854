// The smallest host: compiled and linked against the installed library alone.
#include "zeblogger/ZEBLogger.h"

#include <iostream>

int main() {
    std::string line;
    LogController::getInstance()->setSink(
        [&line](const LogController::Record& record) { line = record.message; });
    ZEBLog(ZEBLogger_getLogger("consumer"), ZEBLOG_WARNING, __FILE__, __LINE__, "installed");
    ZEBLogger_flush();
    std::cout << line << '\n';
    return line == "installed" ? 0 : 1;
}
