#include "Password.h"

#include "core/SecureStringUtils.h"

#include <iostream>
#include <termios.h>
#include <unistd.h>

namespace zebget {

zeb::SecureString askForPassword(const std::string& whose) {
    std::string line;
    termios shown{};
    const bool terminal = tcgetattr(STDIN_FILENO, &shown) == 0;
    if (terminal) {
        termios hidden = shown;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        std::cerr << "Password for " << whose << ": " << std::flush;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    std::getline(std::cin, line);
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
        std::cerr << "\n";
    }
    zeb::SecureString password(line);
    zeb::SecureStringUtils::ZEBZeroString(line);
    return password;
}

}  // namespace zebget
