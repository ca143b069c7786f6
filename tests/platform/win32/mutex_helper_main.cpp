// A second process for the mutex tests: works one mutex of the home given as its argument, on
// commands read line by line from stdin, and answers each with one line on stdout.
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "home.h"
#include "mutex_counter.h"
#include "winbase.h"

// mutex_helper HOME. Commands (NAME is the rest of the line):
//   create NAME | createowned NAME  -> "created <last error>" or "failed <last error>"
//   open NAME                       -> "opened" or "failed <last error>"
//   wait MILLISECONDS               -> "waited <result>"
//   release                         -> "released <BOOL> <last error>"
//   count FILE TIMES                -> "counted <0|1>"
// At the end of input it ends at once, releasing and closing nothing and running no exit-time
// cleanup, as a process that dies while it owns a mutex would.
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: mutex_helper HOME\n");
        return 2;
    }
    orvella::platform::SetHomeDirectory(argv[1]);
    HANDLE mutex = nullptr;
    std::string line;
    while (std::getline(std::cin, line)) {
        const size_t space = line.find(' ');
        const std::string command = line.substr(0, space);
        const std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
        if (command == "create" || command == "createowned") {
            mutex = CreateMutexA(nullptr, command == "createowned", rest.c_str());
            std::cout << (mutex ? "created " : "failed ") << GetLastError();
        } else if (command == "open") {
            mutex = OpenMutexA(MUTEX_ALL_ACCESS, FALSE, rest.c_str());
            if (mutex) {
                std::cout << "opened";
            } else {
                std::cout << "failed " << GetLastError();
            }
        } else if (command == "wait") {
            std::cout << "waited " << WaitForSingleObject(mutex, std::stoul(rest));
        } else if (command == "release") {
            SetLastError(ERROR_SUCCESS);
            const BOOL released = ReleaseMutex(mutex);
            std::cout << "released " << released << ' ' << GetLastError();
        } else if (command == "count") {
            const size_t split = rest.rfind(' ');
            const bool counted = orvella::testing::CountUnderMutex(
                mutex, rest.substr(0, split), std::stoi(rest.substr(split + 1)));
            std::cout << "counted " << counted;
        } else {
            std::cout << "unknown " << command;
        }
        std::cout << std::endl;
    }
    _exit(0);
}
