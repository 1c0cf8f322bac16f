# Writes OUT, a C++ source that holds every file of the workshop page (FILES, below ROOT) as a
# string named by its path relative to ROOT ("app.js", "dialogs/Fb2F.js"), so that the program
# serves its page without any file beside it.
set(content "// Generated from web/ at build time; do not edit.\n#include \"app/WebFiles.h\"\n\nnamespace pw::app {\n\nconst std::vector<WebFile>& WebFiles() {\n  static const std::vector<WebFile> files = {\n")
foreach(file IN LISTS FILES)
  file(RELATIVE_PATH name "${ROOT}" "${file}")
  file(READ "${file}" text)
  string(APPEND content "      {\"${name}\", R\"PWWEB(${text})PWWEB\"},\n")
endforeach()
string(APPEND content "  };\n  return files;\n}\n\n}  // namespace pw::app\n")
file(WRITE "${OUT}.tmp" "${content}")
file(COPY_FILE "${OUT}.tmp" "${OUT}" ONLY_IF_DIFFERENT)
