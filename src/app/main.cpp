// The program.
#include "app/application.h"

int main(int argc, char** argv)
{
    CTarnTestApp application;
    return application.Run(argc, argv);
}
