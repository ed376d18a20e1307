// DuckDB on the columns in the folder given: lines of tool, work and nanoseconds per cell or row.
import { createRequire } from 'node:module';
import { checkCounts, checkStatistics, doubles, expected, levels, measure, tableFile } from './columns.mjs';

// From the folder that the packages were installed to.
const { DOUBLE, DuckDBDataChunk, DuckDBInstance, INTEGER, version } =
  createRequire(process.env.ZRB_NODE_PACKAGES)('@duckdb/node-api');

const instance = await DuckDBInstance.create(':memory:', { threads: '1' });
const connection = await instance.connect();
const tool = `DuckDB ${version().replace(/^v/, '')}`;
const rows = expected.rows;
const levelCounts = [4, 5, 500, 60000];

await connection.run(`create table numbers (${[0, 1, 2, 3, 4, 5, 6, 7].map((c) => `d${c} double`)},
  ${levelCounts.map((count) => `n${count} integer`)})`);
{
  const columns = [
    ...[0, 1, 2, 3, 4, 5, 6, 7].map((c) => Array.from(doubles(`d${c}`), (x) => (Number.isNaN(x) ? null : x))),
    ...levelCounts.map((count) => Array.from(levels(count), (level) => level || null)),
  ];
  const types = columns.map((_, i) => (i < 8 ? DOUBLE : INTEGER));
  const appender = await connection.createAppender('numbers');
  for (let start = 0; start < rows; start += 2048) {
    const chunk = DuckDBDataChunk.create(types, Math.min(2048, rows - start));
    chunk.setColumns(columns.map((column) => column.slice(start, start + 2048)));
    appender.appendDataChunk(chunk);
  }
  appender.closeSync();
}
// Factors are enumerations.
for (const count of levelCounts)
  await connection.run(`create type e${count} as enum (select 'level' || i from range(1, ${count + 1}) r(i))`);
await connection.run(`create table t as select * exclude (${levelCounts.map((count) => `n${count}`)}),
  ${levelCounts.map((count) => `('level' || n${count})::e${count} as f${count}`)} from numbers`);
await connection.run('drop table numbers');

// Timed without the conversion of the result to JavaScript's values.
const query = (sql) => connection.runAndReadAll(sql);

const statistics = (first) => [0, 1, 2, 3, 4, 5, 6, 7]
  .map((c) => `d${first + c}`)
  .map((name) => `min(${name}), max(${name}), avg(${name}), stddev_samp(${name}), count(*) - count(${name})`)
  .join(', ');
const byColumn = (row) => [0, 1, 2, 3, 4, 5, 6, 7].map((c) => row.slice(5 * c, 5 * c + 5));
await measure(tool, 'describe', 8 * rows, () => query(`select ${statistics(0)} from t`),
  (found) => checkStatistics(byColumn(found.getRowsJS()[0])));
const describeFile = `select ${statistics(1)}, map_values(histogram(site)), map_values(histogram(species))
  from read_csv('${tableFile.replaceAll("'", "''")}', nullstr = 'NA')`;
await measure(tool, 'zrb describe', expected.csv_bytes, () => query(describeFile), (found) => {
  const [row] = found.getRowsJS();
  checkStatistics(byColumn(row), 'csv');
  checkCounts('csv8', row[40]);
  checkCounts('csv9', row[41]);
}, 3);
for (const count of [5, 500, 60000])
  await measure(tool, `levels ${count}`, rows, () => query(`select f${count}, count(*) from t group by f${count}`),
    (found) => checkCounts(`f${count}`, found.getRowsJS().filter((row) => row[0] !== null).map((row) => row[1])));
for (const by of [[5, 500], [5, 500, 4]]) {
  const name = by.join('x');
  const columns = by.map((count) => `f${count}`).join(', ');
  const check = (rowsFound) =>
    checkCounts(name, rowsFound.filter((row) => !row.slice(0, by.length).includes(null)).map((row) => row[by.length]));
  await measure(tool, `crosstab ${name}`, rows, () => query(`select ${columns}, count(*) from t group by ${columns}`),
    (found) => check(found.getRowsJS()));
  await measure(`${tool}, with prefixes`, `crosstab ${name}`, rows,
    () => query(`select ${columns}, count(*), grouping(${columns}) from t group by rollup (${columns})`),
    (found) => check(found.getRowsJS().filter((row) => Number(row[by.length + 1]) === 0)));
}
