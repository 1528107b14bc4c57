# %% [markdown]
# # How many depots are worth it?
#
# Each town is served by its nearest depot. More depots make the way shorter, and each costs something to build; so
# the question is how the sum of inhabitants times distance falls with their number.

# %%
from pathlib import Path

import geopandas
import matplotlib.pyplot as plt
import numpy as np
import pandas
import planloc

folder = Path(__file__).parent if "__file__" in globals() else Path()
table = pandas.read_csv(folder / "../andalusia/towns.csv")
towns = geopandas.GeoDataFrame(
    table, geometry=geopandas.points_from_xy(table.lon, table.lat), crs="EPSG:4326"
)
problem = planloc.Problem(towns, weight="population")

# %% [markdown]
# One to twenty depots, each number a scenario. With `bound=True` every value comes with a lower bound: no
# places whatever are better than that.

# %%
numbers = np.arange(1, 21)
runs = planloc.scenarios(problem, {"new": numbers, "seed": 1}, bound=True)
people = problem.weight.sum()
km, bound = (column / people / 1000 for column in (runs.values, runs.lower_bounds))
pandas.DataFrame({"depots": numbers, "km": km, "at least": bound, "status": runs.statuses})

# %%
gap = (runs.values - runs.lower_bounds) / runs.values
for number, mean, least in zip(numbers, km, bound):
    print(f"{number:3} depots: {mean:6.2f} km on average, at least {least:6.2f}")
print(f"proved to {gap.max():.1e}")

# %%
figure, (mean, saved) = plt.subplots(1, 2, figsize=(9, 3.4), constrained_layout=True)
mean.fill_between(numbers, 0, bound, color="#eef1f4", label="proved: nothing down here")
mean.plot(numbers, km, "o-", c="#d1495b", ms=4, label="found")
mean.set(xlabel="depots", ylabel="km from an inhabitant to the depot", xlim=(1, 20), ylim=(0, None),
         xticks=[1, 5, 10, 15, 20])
mean.legend()
saved.bar(numbers[1:], -np.diff(km), color="#7a8ca0")
saved.set(xlabel="depots", ylabel="km that the last one saves", yscale="log",
          xticks=[2, 5, 10, 15, 20])

# %% [markdown]
# Five depots take three quarters of the way off, and each one after the tenth saves less than a kilometre. Here is
# the map of eight.

# %%
planloc.depots(problem, new=8, bound=True)
