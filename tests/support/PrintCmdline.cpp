// Prints what android::getCmdline says about this very process, and nothing after it.

#include <stdio.h>
#include <wardline/Cmdline.h>

int main() {
    const std::string cmdline = android::getCmdline();
    fwrite(cmdline.data(), 1, cmdline.size(), stdout);
    return 0;
}
