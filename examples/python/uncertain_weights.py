# %% [markdown]
# # Where does the best depot lie when the weights are uncertain?
#
# Forty towns of Andalusia, each with its inhabitants. A depot is to stand where the sum of inhabitants times
# distance is least. But next year's demand is a forecast: say that each town's is anywhere within 20 % of it.

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
nominal = planloc.solve(problem)
nominal

# %% [markdown]
# Degrees became metres around the middle of the towns. `verify` proves that no place is better.

# %%
planloc.verify(nominal)

# %% [markdown]
# Now twenty thousand forecasts that could come true, each solved to its end, and in each the value of the
# nominal place as well.

# %%
runs = planloc.scenarios(
    problem, {"weight": planloc.drawn(20_000, spread=0.2, seed=1)}, at=nominal.point
)
runs

# %%
apart = np.hypot(*(runs.points - nominal.point).T) / 1000
regret = 100 * runs.regret / runs.values
print(f"the best place is {np.median(apart):.1f} km from the nominal one, {apart.max():.1f} at most")
print(f"which costs {np.mean(regret):.3f} % on average, {regret.max():.2f} % at most")

# %% [markdown]
# The optimum wanders over many kilometres, and it hardly matters: the sum is flat around its least value. Whoever
# builds at the nominal place loses little whatever comes true, and may as well look at the price of land.

# %%
figure, (area, loss) = plt.subplots(
    1, 2, figsize=(9, 3.2), width_ratios=[2, 1], constrained_layout=True
)
x, y = (runs.points - nominal.point).T / 1000
area.hist2d(x, y, bins=[80, 40], cmap="Reds", cmin=1, rasterized=True)
area.plot(0, 0, "+", c="black", ms=12, mew=2, label="nominal")
area.set(xlabel="km east of the nominal place", ylabel="km north", aspect="equal")
area.legend()
area.set_title("where the best depot lies")
loss.hist(regret, bins=60, color="#d1495b")
loss.set(xlabel="regret of the nominal place, %", ylabel="scenarios")
loss.set_title("what it costs not to know")
