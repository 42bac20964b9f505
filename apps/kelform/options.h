// The program's command line.
#pragma once

#include <string>
#include <vector>

namespace kel::form {

struct Options {
    std::wstring database;  // path of the account file
    std::wstring key;       // country to begin with
    std::wstring lists;     // folder with the lists of codes, for a new account
    std::wstring user;      // name shown to others who meet a lock
    std::wstring print;     // print this country and end
    std::wstring hold;      // lock this country until standard input ends
    std::wstring pictures;  // folder for pictures of the self-test's windows
    bool isSelfTest = false;
    bool isDatabaseGiven = false;
};

inline constexpr const wchar_t* kUsage =
    L"kelform [--database FILE] [--key CODE] [--lists FOLDER] [--user NAME]\n"
    L"        opens the form; without --database it asks for a connection first\n"
    L"kelform --database FILE --print CODE\n"
    L"        prints a country, one attribute a line\n"
    L"kelform --database FILE --hold CODE\n"
    L"        locks a country until standard input ends\n"
    L"kelform --selftest [--lists FOLDER] [--pictures FOLDER]\n"
    L"        works the windows like a person and says whether all went well; saves pictures of "
    L"them";

// The arguments after the program's name.
//   throws  std::exception for one that is not known or lacks its value
Options ParseOptions(const std::vector<std::wstring>& arguments);

}  // namespace kel::form
