# The fit of a formula to a CSV file by R's lm, one line per figure.
# usage: Rscript fit_reference.R FILE FORMULA DATES FACTORS   (names separated by commas, or -)
arguments <- commandArgs(trailingOnly = TRUE)
listed <- function(text) if (text == "-") character(0) else strsplit(text, ",")[[1]]
table <- read.csv(arguments[1], na.strings = c("NA", ""))
for (name in listed(arguments[3])) table[[name]] <- as.numeric(as.Date(table[[name]]))
for (name in listed(arguments[4])) {
  # Levels by their bytes, whatever the locale.
  table[[name]] <- factor(table[[name]], levels = sort(unique(table[[name]]), method = "radix"))
}
fit <- lm(as.formula(arguments[2]), table)
summary <- summary(fit)
figures <- summary$coefficients
limits <- confint(fit)
for (name in names(coef(fit))) {
  values <- if (is.na(coef(fit)[[name]])) rep(NA, 6) else c(figures[name, ], limits[name, ])
  cat("coefficient", name, sprintf("%.17g", values), sep = "\t")
  cat("\n")
}
f <- summary$fstatistic
overall <- c(length(residuals(fit)), fit$df.residual, summary$sigma, summary$r.squared, summary$adj.r.squared, f[1], f[2],
             pf(f[1], f[2], f[3], lower.tail = FALSE))
cat("overall", sprintf("%.17g", overall), sep = "\t")
cat("\n")
