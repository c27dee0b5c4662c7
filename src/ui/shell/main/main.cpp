#include "ui/shell/CommandLine.h"
#include "ui/shell/CorvalinStudioApp.h"

int main(int argc, char *argv[])
{
    // A terminal's --help or --version needs no display.
    if (const std::optional<int> answered = CommandLine::answerWithoutWindow(argc, argv))
        return *answered;
    CorvalinStudioApp application(argc, argv);
    return application.run();
}
