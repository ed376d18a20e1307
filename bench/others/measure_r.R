# R on the columns in the folder given: lines of tool, work and nanoseconds per cell or row.
folder <- commandArgs(trailingOnly = TRUE)[1]
table <- read.table(file.path(folder, "expected.txt"), col.names = c("name", "value"))
expected <- setNames(table$value, table$name)
rows <- expected[["rows"]]
fit_rows <- expected[["fit_rows"]]
tool <- paste("R", paste(R.version$major, R.version$minor, sep = "."))

doubles <- function(name) readBin(file.path(folder, paste0(name, ".f64")), "double", rows)
levels_of <- function(count) {
  codes <- readBin(file.path(folder, paste0("f", count, ".i32")), "integer", rows)
  codes[codes == 0L] <- NA_integer_
  structure(codes, levels = as.character(seq_len(count)), class = "factor")
}
require_value <- function(found, name, tolerance = 0) {
  if (!(abs(found - expected[[name]]) <= tolerance * max(1, abs(expected[[name]]))))
    stop(name, ": ", format(found, digits = 17), ", expected ", format(expected[[name]], digits = 17))
}
measure <- function(work, units, run, check, runs = 7) {
  check(run())
  times <- replicate(runs, { start <- Sys.time(); run(); as.numeric(Sys.time()) - as.numeric(start) })
  cat(tool, "\t", work, "\t", signif(median(times) / units * 1e9, 3), "\n", sep = "")
}
check_counts <- function(name) function(counts) {
  require_value(sum(counts > 0), paste0(name, ".cells"))
  require_value(sum(as.numeric(counts)^2), paste0(name, ".squares"))
}

check_statistics <- function(prefix, tolerance = 0) function(found) for (c in 0:7) {
  name <- paste0(prefix, c)
  require_value(found[[c + 1]][1], paste0(name, ".min"), tolerance)
  require_value(found[[c + 1]][2], paste0(name, ".max"), tolerance)
  require_value(found[[c + 1]][3], paste0(name, ".mean"), 1e-12)
  require_value(found[[c + 1]][4], paste0(name, ".sd"), 1e-12)
  require_value(found[[c + 1]][5], paste0(name, ".na"))
}

columns <- lapply(0:7, function(c) doubles(paste0("d", c)))
describe <- function(columns) lapply(columns, function(x)
  c(min(x, na.rm = TRUE), max(x, na.rm = TRUE), mean(x, na.rm = TRUE), sd(x, na.rm = TRUE), sum(is.na(x))))
measure("describe", 8 * rows, function() describe(columns), check_statistics("d"))

if (requireNamespace("data.table", quietly = TRUE)) {
  data.table::setDTthreads(1)
  measure("zrb describe", expected[["csv_bytes"]], function() {
    table <- data.table::fread(file.path(folder, "table.csv"), stringsAsFactors = TRUE)
    list(describe(as.list(table)[1:8]), tabulate(table$site), tabulate(table$species))
  }, function(found) {
    check_statistics("csv", 1e-15)(found[[1]])  # fread reads a few numbers a unit in the last place off
    check_counts("csv8")(found[[2]])
    check_counts("csv9")(found[[3]])
  }, runs = 3)
}

for (count in c(5, 500, 60000)) {
  f <- levels_of(count)
  measure(paste("levels", format(count, scientific = FALSE)), rows, function() tabulate(f, count),
          check_counts(paste0("f", format(count, scientific = FALSE))))
}
f4 <- levels_of(4); f5 <- levels_of(5); f500 <- levels_of(500)
measure("crosstab 5x500", rows, function() table(f5, f500), check_counts("5x500"))
measure("crosstab 5x500x4", rows, function() table(f5, f500, f4), check_counts("5x500x4"))

regressors <- cbind(1, sapply(1:49, function(c) doubles(paste0("x", c))))
for (p in c(5, 10, 50)) {
  x <- regressors[, seq_len(p)]
  y <- doubles(paste0("y", p))
  measure(paste("fit", p), fit_rows, function() .lm.fit(x, y), function(found)
    if (!all(abs(found$coefficients - seq_len(p)) <= 1e-8 * p)) stop("p = ", p, ": wrong coefficients"))
}
