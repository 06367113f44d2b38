// relink-page BASE < page.html > out.html
//
// Rewrites the relative references of a saved page into absolute URLs
// against BASE, with the file-extension table loaded from /etc/mime.types as
// the application loads it at launch.
#include <cstdio>
#include <iostream>
#include <iterator>
#include <string>

#include "FileExtensionTable.h"
#include "RelinkWebPage.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: relink-page BASE < page.html > out.html\n");
    return 2;
  }
  std::ios::sync_with_stdio(false);
  std::string page((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
  tolvo::loadFileExtensionTable();
  tolvo::relinkWebPage(argv[1], page, tolvo::fileExtensionTable());
  std::cout.write(page.data(), static_cast<std::streamsize>(page.size()));
  std::cout.flush();
  return std::cout ? 0 : 1;
}
