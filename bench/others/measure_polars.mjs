// Polars on the columns in the folder given: lines of tool, work and nanoseconds per cell or row.
import { createRequire } from 'node:module';
import { checkCounts, checkStatistics, doubles, expected, levels, measure, tableFile } from './columns.mjs';

// From the folder that the packages were installed to.
const fromPackages = createRequire(process.env.ZRB_NODE_PACKAGES);
const pl = fromPackages('nodejs-polars');

const tool = `Polars (nodejs-polars ${fromPackages('nodejs-polars/package.json').version})`;
const rows = expected.rows;
const names = [0, 1, 2, 3, 4, 5, 6, 7].map((c) => `d${c}`);

const columns = Object.fromEntries(names.map((name) => [name, doubles(name)]));
for (const count of [4, 5, 500, 60000]) columns[`f${count}`] = levels(count);
// NaN and level 0 become nulls.
const frame = pl
  .DataFrame(columns)
  .withColumns(
    ...names.map((name) => pl.when(pl.col(name).isNan()).then(pl.lit(null)).otherwise(pl.col(name)).alias(name)),
    ...[4, 5, 500, 60000].map((count) =>
      pl.when(pl.col(`f${count}`).eq(pl.lit(0))).then(pl.lit(null)).otherwise(pl.col(`f${count}`)).alias(`f${count}`)),
  );

const statistics = (columnNames) => columnNames.flatMap((name) => [
  pl.col(name).min().alias(`${name}.min`),
  pl.col(name).max().alias(`${name}.max`),
  pl.col(name).mean().alias(`${name}.mean`),
  pl.col(name).std().alias(`${name}.sd`),
  pl.col(name).nullCount().alias(`${name}.na`),
]);
const byColumn = (found) => names.map((_, c) => found.rows()[0].slice(5 * c, 5 * c + 5));
const levelCounts = (found) => found.rows().filter((row) => row[0] !== null).map((row) => row[1]);
await measure(tool, 'describe', 8 * rows, () => frame.select(...statistics(names)),
  (found) => checkStatistics(byColumn(found)));
const describeFile = () => {
  const table = pl.readCSV(tableFile, { nullValues: 'NA' });  // quicker than scanCSV
  const numbers = table.select(...statistics(table.columns.slice(0, 8)));
  return [numbers, table.groupBy('site').len(), table.groupBy('species').len()];
};
await measure(tool, 'zrb describe', expected.csv_bytes, describeFile, ([numbers, site, species]) => {
  checkStatistics(byColumn(numbers), 'csv');
  checkCounts('csv8', levelCounts(site));
  checkCounts('csv9', levelCounts(species));
}, 3);
for (const count of [5, 500, 60000])
  await measure(tool, `levels ${count}`, rows, () => frame.groupBy(`f${count}`).len(),
    (found) => checkCounts(`f${count}`, levelCounts(found)));
for (const by of [[5, 500], [5, 500, 4]])
  await measure(tool, `crosstab ${by.join('x')}`, rows, () => frame.groupBy(by.map((count) => `f${count}`)).len(),
    (found) => checkCounts(by.join('x'),
      found.rows().filter((row) => !row.slice(0, by.length).includes(null)).map((row) => row[by.length])));
