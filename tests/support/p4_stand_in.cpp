#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

// Stands in for the Perforce client. The folder in GOX_TEST_P4 says what it
// does: it notes its arguments, and the names that it was given, in calls.txt
// there and then takes the steps of "<command>.txt", one a line. Without arguments
// it stands in for the layout program, with the steps of "layout.txt".
//
//     out TEXT, err TEXT    a line of output
//     language              the language that it is to speak, as the server's time
//     layers STEP           a step for requests of layers only
//     number                writes the file "process" with the number of its process
//     flood N               N bytes of output without a line end
//     complain N TEXT       N times the line as an error
//     writable              makes the files of its names writable
//     wait N                N milliseconds
//     die                   ends as a crash does
//     exit N                ends with this status; without, 0
namespace {

std::string plain_name(std::string name)
{
    for (std::size_t at = 0; (at = name.find('%', at)) != std::string::npos; ++at)
        name.replace(at, 3, 1, char(std::stoi(name.substr(at + 1, 2), nullptr, 16)));
    return name;
}

std::string repeated(const std::string& text, int count)
{
    std::string many;
    while (count-- > 0)
        many += text;
    return many;
}

void take_step(const std::string& word, const std::string& rest, const std::vector<std::string>& names)
{
    namespace fs = std::filesystem;
    static int engine = -1; // of the layouts, as the request begins
    if (word == "layers" && engine < 0)
        std::cin >> engine;
    if (word == "out")
        std::cout << rest << std::endl;
    else if (word == "err")
        std::cerr << rest << std::endl;
    else if (word == "language")
        std::cout << "... serverDate " << std::getenv("P4LANGUAGE") << std::endl;
    else if (word == "layers" && engine == 0)
        take_step(rest.substr(0, rest.find(' ')), rest.substr(rest.find(' ') + 1), names);
    else if (word == "number")
        std::ofstream(std::getenv("GOX_TEST_P4") + std::string("/process")) << ::getpid();
    else if (word == "flood")
        std::cout << std::string(std::stoul(rest), 'x') << std::flush;
    else if (word == "complain")
        std::cerr << repeated(rest.substr(rest.find(' ') + 1) + '\n', std::stoi(rest));
    else if (word == "wait")
        std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(rest)));
    else if (word == "die")
        std::abort();
    else if (word == "exit")
        std::exit(std::stoi(rest));
    else if (word == "writable")
        for (const std::string& name : names)
            fs::permissions(plain_name(name), fs::perms::owner_write, fs::perm_options::add);
}

} // namespace

int main(int argc, char** argv)
{
    const std::string folder = std::getenv("GOX_TEST_P4");
    std::ofstream calls(folder + "/calls.txt", std::ios::app);
    std::string command = argc > 1 ? "" : "layout";
    bool has_names = false;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "-d" || word == "-x")
            has_names = (word == "-x"), ++i;
        else if (command.empty() && word[0] != '-')
            command = word;
        calls << (word == "-d" ? "" : " ") << (word == "-d" ? "-d HERE" : word == "-x" ? "-x -" : word);
    }
    calls << '\n';
    std::vector<std::string> names;
    for (std::string name; argc > 1 && std::getline(std::cin, name); calls << name << '\n')
        names.push_back(name);
    calls << (has_names == !names.empty() ? "" : "the names are missing\n") << std::flush;
    std::ifstream steps(folder + '/' + command + ".txt");
    for (std::string line; std::getline(steps, line);) {
        const std::size_t blank = line.find(' ');
        take_step(line.substr(0, blank), blank == line.npos ? "" : line.substr(blank + 1), names);
    }
    return 0;
}
