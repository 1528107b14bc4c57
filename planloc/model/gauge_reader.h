// Reads gauges from text: each by the vertices of its unit ball, in counterclockwise order. The
// location reader (facilities/facilities.h) refers to them by their position in the list, from 0.
//
//   begin {polygaugelist}
//   begin {polygauge}
//   1 0
//   -1 1
//   -1 -1
//   end {polygauge}
//   end {polygaugelist}
//
// Keywords are matched in any case, with spaces but no tabs inside, and an opening keyword ends its
// line. `//` and `/* */` are comments; a block comment does not nest. Between two gauges of a
// polygauge list there may be no empty line, while one that holds a line comment is allowed. A bare
// gauge without the list around it is a list of one. The end of the file ends the list wherever it
// comes; what was complete by then is the result. Text before the list is copied to standard
// output. A file with carriage returns has no opening keyword and yields an empty list.
//
// A list of mixed gauges (mixgaugelist, mixgauge) has the type of its cone behind each vertex, 1
// for a Euclidean and 0 for a polyhedral one. It can hold one gauge only: the next one, or the next
// call, ends with 1717.
//
// Vertices of a gauge that the file ended in are left over for the next call of the same thread.
//
// All failures end the process through MaviError with status 1 (see reporter.h): those listed, and
// those of the constructors of the gauges. A gauge without vertices ends with the report of the
// empty list. A number beyond the range of a double is an infinity. A file that cannot be read
// (a directory, a broken disk), or a token of 512 MB, ends the process with status 2 and one line
// on the error stream ("input in flex scanner failed", ...).
#ifndef PLANLOC_MODEL_GAUGE_READER_H_
#define PLANLOC_MODEL_GAUGE_READER_H_

#include <istream>

#include "planloc/foundation/containers/list.h"
#include "planloc/model/mixgauge.h"
#include "planloc/model/polygauge.h"

namespace planloc {

// 1607 "Can't open file!" for a failed stream, 1608 with the text of a failure in the file.
list<polygauge> read_polygauge_list(std::istream& in);

// 1609 and 1610.
list<mixgauge> read_mixgauge_list(std::istream& in);

}  // namespace planloc

#endif  // PLANLOC_MODEL_GAUGE_READER_H_
