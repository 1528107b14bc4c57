// The existing facilities of a location problem, the result of the last problem solved with them,
// and their names: the class whose members are the location algorithms. A gauge file is read by
// model/gauge_reader.h.
//
//   facilities F;
//   std::ifstream in("plan.loc");
//   F.read_locations(in);
//   for (const location& a : F) ...
//
// The object is the list of its facilities, in input order, with every operation of the list.
// Reports go through MaviError with exit status 1 (see model/reporter.h); the comments give code
// and text. Where the first facility is spoken of, an empty list ends with the list's own report
// ("dlist::head(): empty list") unless stated.
//
// In what follows p is the parameter of a norm, an integer from 1 upward or -1 for the maximum
// norm, and k, c are the numbers of a weight and of a coordinate, from 0.
#ifndef PLANLOC_FACILITIES_FACILITIES_H_
#define PLANLOC_FACILITIES_FACILITIES_H_

#include <istream>
#include <ostream>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "planloc/foundation/graph/graph.h"
#include "planloc/model/loc_vector.h"
#include "planloc/model/location.h"

namespace planloc {

class facilities : public virtual list<planloc::location> {
 public:
  // The result of the last problem solved: locations of dimension 2 whose one weight is a label.
  // What it labels is up to the solver: the number of the weight, of the new facility, or of the
  // piece of an efficient set, where neighbours with equal labels form a polygon or a segment.
  list<planloc::location> opt;
  // Kept in step with the facilities only on demand: see `refname`.
  list<string> names;

  facilities() = default;
  facilities(const facilities& other) = default;
  facilities& operator=(const facilities& other) = default;
  ~facilities() = default;

  // ----- Access -----

  // A copy of facility i, from 0; location(2, 1) with all values 0.0 if there is none.
  planloc::location location(int i) const;

  // Whether some facility has exactly the coordinates of l; weights play no part.
  bool contains(const planloc::location& l) const;
  // 0 if the first facility equals l, else size(): no other is looked at. Use `contains` to search.
  int index_of(const planloc::location& l) const;

  // Removes one facility if l equals the first or the last one. Otherwise removes every facility
  // that equals l and empties `opt` and `names`.
  void remove(const planloc::location& l);
  // Removes facility idx; if it is neither the first nor the last one, empties `opt` and `names`.
  // 1305 "facilities::remove(): There is no corresponding location for idx"
  void remove(int idx);

  // ----- Names -----

  // The name of a facility. Names that `names` does not reach yet are made up to this one, empty.
  // 1334 "facilities::refname(): location isn't an item of this object"
  string& refname(list_item item);
  // i == size() is allowed and names a facility that does not exist.
  // 1335 "facilities::refname(): location out of range"
  string& refname(int i);
  void set_name(list_item item, const string& name) { refname(item) = name; }
  void set_name(int i, const string& name) { refname(i) = name; }
  string name(list_item item) { return refname(item); }
  string name(int i) { return refname(i); }

  // ----- Shape -----

  // Dimension and number of weights of the first facility; those of the others are not looked at.
  int dimension() const { return head().dim(); }
  int weight_count() const { return head().nweights(); }

  // The sum of the weight vectors; those of another size than the first are left out.
  Loc_Vector total_weights() const;
  double max_coordinate(int c) const;
  double min_coordinate(int c) const;
  double extent(int c) const { return max_coordinate(c) - min_coordinate(c); }

  // Neighbours with exactly the same coordinate c become one, the first of them, with the sum of
  // their weights k; their other coordinates and weights are lost. Sort by coordinate c before.
  // Empty for an empty list.
  facilities merged(int c, int k) const;

  // Every facility on a line.
  void print() const;
  void print(std::ostream& out) const;

  // ----- The turned frame -----

  // Turns every facility (not `opt`) by 45 degrees (`location::to_turned_frame`). The rectilinear
  // distance of two points after `to_turned_frame` is the maximum distance that they had before;
  // their maximum distance after `from_turned_frame` is the rectilinear one that they had.
  void to_turned_frame();
  void from_turned_frame();

  // ----- Results -----

  // The weighted sum of the p-norm distances to x: weight k of each facility times its distance.
  // 0.0 for a bad p.
  double objective(int p, const planloc::location& x, int k) const;
  // `objective` of the first result. 1303 "Solve a problem first."
  double result_value(int p, int k) const;
  // `objective` of the first result with the label k. 1301 "Solve a problem first.", 1302
  // "Indetermined weight criterion. Check number of weights."
  double labelled_value(int p, int k) const;

  // The results as points and polygons (`location::WriteAsPolygonList`).
  // 1304 "Solve a problem first."
  void write_results() const;
  void write_results(std::ostream& out) const;

  // ----- Files -----

  // Both replace facilities and names by those of the file; `opt` stays. See below.
  // 1503 "Can't open file!" for a failed stream, 1504 with the text of a failure in the file.
  void read_locations(std::istream& in);
  // gauge_of: the gauge numbers in the order of the records. A record may have a name in place of a
  // number, so that there can be fewer numbers than facilities.
  void read_gauge_locations(std::istream& in, list<int>& gauge_of);
};

// Reads a graph whose nodes are facilities. A node's value is the list of its weights, and its
// number, from 1, the position of its record. F is emptied and receives the facilities, F.names and
// `node_names` the names.
// 2111 "Can't open file!" for a failed stream, 2112 with the text of a failure in the file.
//
// ----- The form of the files of all three readers -----
//
//   begin {location}[2,1]     // dimension, number of weights; plain "begin {location}" means this
//   0 0 1 {0} [A]             // coordinates, weights, {gauge number}, [name]
//   4 0 l_inf {1} [B]
//   end {location}
//
// 1. Keywords are matched in any case, with spaces but no tabs inside. `//` and `/* */` are
//    comments; a block comment does not nest. There may be no empty line among the records, while
//    one that holds a line comment is allowed. Text before the header is copied to standard output.
// 2. A coordinate has a blank or a tab behind it. The weight `l_inf` is 1e+50. Names are optional.
//    Gauge numbers belong to `read_gauge_locations`, where a record has one, or only a name.
// 3. The end of the file ends the records wherever it comes; one without its line end is dropped.
//
// A graph has "begin {mavigraph}" above the header, and behind "end {location}"
//
//   begin {adjlist}           // or: begin {adjlist_byname}
//   1 2 2.5                   // edge from node 1 to node 2 with weight 2.5; by name: A B 2.5
//   end {adjlist}
//
// with one edge on a line and nothing behind its weight. A record may have `nc` in place of its
// coordinates (dimension up to 1000); one such record drops all locations, and leaves the nodes. An
// edge to a node that does not exist ends with the report of the graph.
//
// What a file leaves behind: its kind stays in force, so that `read_locations` behind
// `read_gauge_locations` expects gauge numbers, and behind a graph expects a graph or not. Numbers
// of a record in which a file ended count for the first record of the next one.
//
// A real beyond the range of a double is an infinity, an integer beyond the range of an int the
// largest or smallest one; no memory is taken for a dimension before its numbers are read. A file
// that cannot be read (a directory, a broken disk), or a token of 512 MB, ends the process with
// status 2 and one line on the error stream ("input in flex scanner failed", ...).
GRAPH<list<double>, double> read_graph(std::istream& in, facilities& F, list<string>& node_names);

// Turns one location from the turned frame. It becomes planar, and every weight of it becomes its
// weight 0. Use `location::from_turned_frame` to keep the weights.
void turn_location(location& l);

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_FACILITIES_H_
