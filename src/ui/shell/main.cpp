#include "ui/shell/CorvalinStudioApp.h"

int main(int argc, char *argv[])
{
    CorvalinStudioApp application(argc, argv);
    return application.run();
}
