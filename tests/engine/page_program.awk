# Makes a program of the cpp blocks of a page (-v file=program.cpp), or what it has to print of the text
# blocks (-v file=output.txt). A block with includes stands before main; all others follow each other.
/^```/ {
  if (block) {
    if (block == "cpp" && file == "program.cpp") {
      if (text ~ /#include/) before = before text; else body = body text
    }
    if (block == "text" && file == "output.txt") printf "%s", text
    block = ""
  } else {
    block = substr($0, 4); text = ""
  }
  next
}
block { text = text $0 "\n" }
END { if (file == "program.cpp") printf "%sint main() {\n%sreturn 0;\n}\n", before, body }
