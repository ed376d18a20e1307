"""NumPy and pandas on the columns in the folder given: lines of tool, work and nanoseconds per cell or row."""
import sys
import time

import numpy as np

folder = sys.argv[1]
expected = {name: float(value) for name, value in (line.split() for line in open(f"{folder}/expected.txt"))}


def doubles(name):
    return np.fromfile(f"{folder}/{name}.f64", dtype=np.float64)


def levels(count):
    return np.fromfile(f"{folder}/f{count}.i32", dtype=np.int32)


def require(found, name, tolerance=0.0):
    if not abs(float(found) - expected[name]) <= tolerance * max(1.0, abs(expected[name])):
        sys.exit(f"{name}: {found}, expected {expected[name]}")


def measure(tool, work, units, run, check, runs=7):
    check(run())
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        run()
        times.append(time.perf_counter() - start)
    print(f"{tool}\t{work}\t{sorted(times)[runs // 2] / units * 1e9:.3g}", flush=True)


def check_counts(name, counts):
    """`counts` of all combinations without NA."""
    require(np.count_nonzero(counts), f"{name}.cells")
    require(np.sum(np.square(np.asarray(counts, dtype=np.int64))), f"{name}.squares")


def check_statistics(rows, prefix="d", tolerance=0.0):
    for c, (low, high, mean, deviation, missing) in enumerate(rows):
        name = f"{prefix}{c}"
        require(low, f"{name}.min", tolerance)
        require(high, f"{name}.max", tolerance)
        require(mean, f"{name}.mean", 1e-12)  # the tools sum in orders of their own
        require(deviation, f"{name}.sd", 1e-12)
        require(missing, f"{name}.na")


def check_fit(p):
    def check(coefficients):
        if not np.allclose(coefficients, np.arange(1, p + 1), rtol=0, atol=1e-8 * p):
            sys.exit(f"p = {p}: {coefficients}")

    return check


def measure_numpy():
    tool = f"NumPy {np.__version__}"
    columns = [doubles(f"d{c}") for c in range(8)]

    def describe():
        rows = []
        for x in columns:
            v = x[~np.isnan(x)]
            rows.append((v.min(), v.max(), v.mean(), v.std(ddof=1), x.size - v.size))
        return rows

    measure(tool, "describe", 8 * expected["rows"], describe, check_statistics)
    factors = {count: levels(count) for count in (4, 5, 500, 60000)}
    for count in (5, 500, 60000):
        f = factors[count]
        measure(tool, f"levels {count}", expected["rows"], lambda: np.bincount(f, minlength=count + 1),
                lambda counts: check_counts(f"f{count}", counts[1:]))

    def cross(*counts):
        index = factors[counts[0]].astype(np.int64)
        for count in counts[1:]:
            index = index * (count + 1) + factors[count]
        sizes = [count + 1 for count in counts]
        table = np.bincount(index, minlength=int(np.prod(sizes))).reshape(sizes)
        prefixes = [table]
        while prefixes[-1].ndim > 1:
            prefixes.append(prefixes[-1].sum(axis=-1))
        return prefixes

    measure(tool, "crosstab 5x500", expected["rows"], lambda: cross(5, 500),
            lambda found: check_counts("5x500", found[0][1:, 1:]))
    measure(tool, "crosstab 5x500x4", expected["rows"], lambda: cross(5, 500, 4),
            lambda found: check_counts("5x500x4", found[0][1:, 1:, 1:]))
    regressors = np.column_stack([np.ones(int(expected["fit_rows"]))] + [doubles(f"x{c}") for c in range(1, 50)])
    for p in (5, 10, 50):
        x, y = np.asfortranarray(regressors[:, :p]), doubles(f"y{p}")
        measure(tool, f"fit {p}", expected["fit_rows"], lambda: np.linalg.lstsq(x, y, rcond=None)[0], check_fit(p))


def measure_pandas():
    import pandas as pd

    tool = f"pandas {pd.__version__}"
    frame = pd.DataFrame({f"d{c}": doubles(f"d{c}") for c in range(8)})

    def describe(numbers):
        found = numbers.agg(["min", "max", "mean", "std", "count"])
        return [(found[c]["min"], found[c]["max"], found[c]["mean"], found[c]["std"], len(numbers) - found[c]["count"])
                for c in numbers.columns]

    measure(tool, "describe", 8 * expected["rows"], lambda: describe(frame), check_statistics)

    def describe_file():
        table = pd.read_csv(f"{folder}/table.csv", dtype={"site": "category", "species": "category"})
        return describe(table.iloc[:, :8]), table["site"].value_counts(), table["species"].value_counts()

    def check_file(found):
        check_statistics(found[0], "csv", 1e-15)  # pandas reads some numbers a few units in the last place off
        check_counts("csv8", found[1])
        check_counts("csv9", found[2])

    measure(tool, "zrb describe", expected["csv_bytes"], describe_file, check_file, runs=3)
    factors = pd.DataFrame({f"f{count}": pd.Categorical.from_codes(levels(count) - 1, categories=range(1, count + 1))
                            for count in (4, 5, 500, 60000)})
    for count in (5, 500, 60000):
        f = factors[f"f{count}"]
        measure(tool, f"levels {count}", expected["rows"], lambda: f.value_counts(),
                lambda counts: check_counts(f"f{count}", counts))
    for by in (("f5", "f500"), ("f5", "f500", "f4")):
        name = "x".join(column[1:] for column in by)
        measure(tool, f"crosstab {name}", expected["rows"],
                lambda: factors.groupby(list(by), observed=False, sort=False).size(),
                lambda counts: check_counts(name, counts))


measure_numpy()
try:
    measure_pandas()
except ImportError:
    print("pandas is not installed", file=sys.stderr)
