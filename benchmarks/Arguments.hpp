#pragma once

#include <fstream>
#include <getopt.h>
#include <map>
#include <string>

// For daemons whose library parses neither options nor files.
struct Arguments {
    Arguments(int argc, char** argv)
    {
        static const option OPTIONS[] = {
            {"config", required_argument, nullptr, 'c'}, {"wait", no_argument, nullptr, 'w'}, {}};
        for (int code = 0; (code = getopt_long(argc, argv, "c:w", OPTIONS, nullptr)) != -1;) {
            waits |= code == 'w';
            if (code == 'c') {
                read(optarg);
            }
        }
    }

    bool waits = false;
    std::map<std::string, std::string> entries;

private:
    void read(const char* path)
    {
        std::ifstream file(path);
        for (std::string word; file >> word;) {
            entries[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
        }
    }
};
