// What the measurements of DuckDB and Polars share: the columns, the expected numbers, and the clock.
import { readFileSync } from 'node:fs';
import { join } from 'node:path';

export const folder = process.argv[2];
export const tableFile = join(folder, 'table.csv');

export const expected = Object.fromEntries(
  readFileSync(join(folder, 'expected.txt'), 'utf8').trim().split('\n').map((line) => {
    const [name, value] = line.split(' ');
    return [name, Number(value)];
  }),
);

function bytes(name) {
  const file = readFileSync(join(folder, name));
  return file.buffer.slice(file.byteOffset, file.byteOffset + file.byteLength);
}
export const doubles = (name) => new Float64Array(bytes(`${name}.f64`));
export const levels = (count) => new Int32Array(bytes(`f${count}.i32`));

export function requireValue(found, name, tolerance = 0) {
  if (!(Math.abs(Number(found) - expected[name]) <= tolerance * Math.max(1, Math.abs(expected[name]))))
    throw new Error(`${name}: ${found}, expected ${expected[name]}`);
}

// `counts` of all combinations without NA.
export function checkCounts(name, counts) {
  const present = counts.map(Number).filter((count) => count > 0);
  requireValue(present.length, `${name}.cells`);
  requireValue(present.reduce((sum, count) => sum + count * count, 0), `${name}.squares`);
}

// Of each column: minimum, maximum, mean, deviation and the number of NA.
export function checkStatistics(columns, prefix = 'd') {
  columns.forEach(([min, max, mean, deviation, missing], c) => {
    const name = `${prefix}${c}`;
    requireValue(min, `${name}.min`);
    requireValue(max, `${name}.max`);
    requireValue(mean, `${name}.mean`, 1e-12);
    requireValue(deviation, `${name}.sd`, 1e-12);
    requireValue(missing, `${name}.na`);
  });
}

export async function measure(tool, work, units, run, check, runs = 7) {
  check(await run());
  const times = [];
  for (let i = 0; i < runs; ++i) {
    const start = performance.now();
    await run();
    times.push(performance.now() - start);
  }
  times.sort((a, b) => a - b);
  console.log(`${tool}\t${work}\t${((times[(runs - 1) / 2] / units) * 1e6).toPrecision(3)}`);
}
