#include "Common/Src/CommandLine.h"
#include "Tools/vlanctl/CommandLine.h"

int main()
{
    try
    {
        return RunCommandLine(ArgumentsLastFirst());
    }
    catch (...)
    {
        return EXIT_REFUSED; // no memory for a message
    }
}
