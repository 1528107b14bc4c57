# Makes a program of the cpp blocks of a page (-v file=program.cpp), or what it has to print of the text
# blocks (-v file=output.txt). Lines with includes and `using namespace` stand before main; all blocks follow
# each other. With -v names=FILE each block is a scope of its own after the names of that file, and only a block
# that a text block follows prints.
function finish(printing) {
  if (cpp == "") return
  if (!names) body = body cpp
  else if (printing) body = body "{\n" cpp "}\n"
  else body = body "{\nstd::cout.setstate(std::ios::failbit);\n" cpp "std::cout.clear();\n}\n"
  cpp = ""
}
/^```/ {
  if (block) {
    if (block == "text" && file == "output.txt") printf "%s", text
    block = ""
  } else {
    block = substr($0, 4)
    if (block == "cpp" || block == "text") finish(block == "text")
  }
  text = ""
  next
}
block == "cpp" && /^(#include|using namespace)/ { before = before $0 "\n"; next }
block == "cpp" { cpp = cpp $0 "\n" }
block { text = text $0 "\n" }
END {
  finish(0)
  if (names) before = before "#include \"" names "\"\n"
  if (file == "program.cpp") printf "%sint main() {\n%sreturn 0;\n}\n", before, body
}
