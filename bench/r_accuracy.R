# The accuracy of R's distribution functions on the oracle tables of tests/data, measured
# as tools/accuracy_report.cpp measures korvstat's double twin: the largest relative error
# in units of 2^-52 in the body (values, or p for a quantile, in [1e-8, 1 - 1e-8]) and in
# the tails, values below that down to the smallest double. R serves as a peer here, as
# GSL and R's math library do in the timing benchmarks beside it.
#
#     Rscript bench/r_accuracy.R [tests/data]
args <- commandArgs(trailingOnly = TRUE)
dir <- if (length(args) > 0) args[1] else "tests/data"
eps <- 2^-52

read_table <- function(name) {
  lines <- readLines(file.path(dir, name))
  lines <- lines[!startsWith(lines, "#")]
  read.csv(text = lines, colClasses = "character")
}

measure <- function(name, table, f, exact, quantile = FALSE) {
  t <- read_table(table)
  num <- function(column) as.numeric(t[[column]])
  got <- suppressWarnings(f(t, num))
  e <- num(exact)
  keep <- is.finite(e) & (e == 0 | abs(e) >= 2.2250738585072014e-308) & is.finite(got)
  rel <- ifelse(e == 0, ifelse(got == 0, 0, Inf), abs(got - e) / abs(e) / eps)
  v <- if (quantile) num("p") else e
  body <- keep & v >= 1e-8 & v <= 1 - 1e-8
  tail <- keep & !body
  worst <- function(s) if (any(s)) sprintf("%.3g", max(rel[s])) else "-"
  cat(sprintf("| %s | %d | %s | %s |\n", name, sum(keep), worst(body), worst(tail)))
}

cat("| Function | Rows | Body (eps) | Tails (eps) |\n|---|---|---|---|\n")
measure("t_cdf", "t_cdf.csv", function(t, n) pt(n("t"), n("df")), "cdf")
measure("t_inverse_cdf", "t_inverse.csv", function(t, n) qt(n("p"), n("df")), "quantile", TRUE)
measure("chi_squared_cdf", "chi_squared_cdf.csv", function(t, n) pchisq(n("x"), n("df")), "cdf")
measure("chi_squared_inverse_cdf", "chi_squared_inverse.csv", function(t, n) qchisq(n("p"), n("df")), "quantile",
        TRUE)
measure("gamma_cdf", "gamma_incomplete.csv", function(t, n) pgamma(n("x"), n("a")), "p")
measure("F_cdf", "f_cdf.csv", function(t, n) pf(n("f"), n("df_num"), n("df_den")), "cdf")
measure("F_inverse_cdf", "f_inverse.csv", function(t, n) qf(n("p"), n("df_num"), n("df_den")), "quantile", TRUE)
measure("beta_incomplete", "beta_incomplete.csv", function(t, n) pbeta(n("x"), n("a"), n("b")), "cdf")
measure("beta_inverse_cdf", "beta_inverse.csv", function(t, n) qbeta(n("p"), n("a"), n("b")), "quantile", TRUE)
measure("binomial_cdf", "binomial_cdf.csv", function(t, n) pbinom(n("k"), n("n"), n("p")), "cdf")
measure("binpr", "binomial_cdf.csv", function(t, n) dbinom(n("k"), n("n"), n("p")), "pmf")
measure("poisson_cdf", "poisson_cdf.csv", function(t, n) ppois(n("k"), n("theta")), "cdf")
measure("hypergeometric_cdf", "hypergeometric_cdf.csv",
        function(t, n) phyper(n("k"), n("defectives"), n("lot") - n("defectives"), n("sample")), "cdf")
measure("non_central_chi_sq", "non_central_chi_sq.csv", function(t, n) pchisq(n("x"), n("df"), n("delta")), "cdf")
measure("non_central_chi_sq_inv", "non_central_chi_sq_inverse.csv",
        function(t, n) qchisq(n("p"), n("df"), n("delta")), "quantile", TRUE)
measure("non_central_t_cdf", "non_central_t.csv", function(t, n) pt(n("t"), n("df"), n("delta")), "cdf")
measure("non_central_t_inv_cdf", "non_central_t_inverse.csv", function(t, n) qt(n("p"), n("df"), n("delta")),
        "quantile", TRUE)
