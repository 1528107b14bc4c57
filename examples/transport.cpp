// What three depots send to four shops at the least cost, by a linear program written as
// expressions. Then every depot that is used costs a rent: a yes/no choice for each, by a mixed
// integer program. docs/engine.md explains the operations.
//
//   $ transport
//   cost 2990
//     harbour sends 60 to shop 1, price of a pallet more there 11
//     station sends 110 to shop 2, price of a pallet more there 15
//     ...
//   with rents 4210: harbour closed, station open, airport open
#include <planloc/planloc.h>

#include <iostream>

namespace {

constexpr int kDepots = 3, kShops = 4;
const char* const kNames[kDepots] = {"harbour", "station", "airport"};
const int kStock[kDepots] = {150, 140, 180};  // pallets
const int kDemand[kShops] = {60, 110, 90, 50};
const int kRent[kDepots] = {700, 500, 600};
const int kCost[kDepots][kShops] = {{11, 19, 14, 18}, {16, 8, 12, 10}, {13, 15, 9, 17}};

using Flow = planloc::IlcFloatVar[kDepots][kShops];

// Makes the flows, sends every shop its demand, and returns the cost of it.
planloc::IlcFloatExp transport(planloc::IlcManager m, planloc::IlcLinOpt lp, Flow& flow,
                               planloc::IlcConstraint (&met)[kShops]) {
  planloc::IlcFloatExp cost = 0;
  for (int shop = 0; shop < kShops; ++shop) {
    planloc::IlcFloatExp received = 0;
    for (int depot = 0; depot < kDepots; ++depot) {
      flow[depot][shop] = planloc::IlcFloatVar(m, 0.0, planloc::IlcInfinity);
      received += flow[depot][shop];
      cost += kCost[depot][shop] * flow[depot][shop];
    }
    met[shop] = received == kDemand[shop];
    lp.add(met[shop]);
  }
  return cost;
}

planloc::IlcFloatExp sent(const Flow& flow, int depot) {
  planloc::IlcFloatExp sum = 0;
  for (const planloc::IlcFloatVar& pallets : flow[depot]) sum += pallets;
  return sum;
}

void solve_transport(planloc::IlcManager m) {
  planloc::IlcLinOpt lp(m, 0);
  Flow flow;
  planloc::IlcConstraint met[kShops];
  lp.setObjMin(transport(m, lp, flow, met));
  for (int depot = 0; depot < kDepots; ++depot) lp.add(sent(flow, depot) <= kStock[depot]);
  if (lp.dualOpt() != planloc::CPX_STAT_OPTIMAL) return;
  std::cout << "cost " << lp.getObjValue() << '\n';
  for (int depot = 0; depot < kDepots; ++depot) {
    for (int shop = 0; shop < kShops; ++shop) {
      const double pallets = lp.getCurrentValue(flow[depot][shop]);
      if (pallets == 0.0) continue;
      std::cout << "  " << kNames[depot] << " sends " << pallets << " to shop " << shop + 1
                << ", price of a pallet more there " << lp.getDualValue(met[shop]) << '\n';
    }
  }
  lp.end();
}

void solve_choice(planloc::IlcManager m) {
  planloc::IlcLinOpt lp(m, 0);
  Flow flow;
  planloc::IlcConstraint met[kShops];
  planloc::IlcIntVarArray open(m, kDepots, 0, 1);
  planloc::IlcFloatExp cost = transport(m, lp, flow, met);
  for (int depot = 0; depot < kDepots; ++depot) {
    lp.add(sent(flow, depot) <= kStock[depot] * open[depot]);
    cost += kRent[depot] * open[depot];
  }
  lp.setObjMin(cost);
  const int status = lp.mipOpt();
  if (status != planloc::CPXMIP_OPTIMAL && status != planloc::CPXMIP_OPTIMAL_TOL) return;
  std::cout << "with rents " << lp.getObjValue() << ':';
  for (int depot = 0; depot < kDepots; ++depot) {
    const bool is_open = lp.getCurrentValue(open[depot]) > 0.5;
    std::cout << (depot ? ", " : " ") << kNames[depot] << (is_open ? " open" : " closed");
  }
  std::cout << '\n';
  lp.end();
}

}  // namespace

int main() {
  planloc::IlcInitFloat();
  planloc::IlcManager m(planloc::IlcEdit);
  solve_transport(m);
  solve_choice(m);
  m.end();
  return 0;
}
