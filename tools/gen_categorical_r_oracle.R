# The R side of the oracle of the categorical tests: for each table of
# tests/data/categorical_tables.csv, R's own tests (chisq.test, fisher.test, mcnemar.test,
# mantelhaen.test, kruskal.test, prop.trend.test, binom.test, cor) and the likelihood-ratio
# statistic written out, as rows "id,quantity,index,value".
#
#   Rscript tools/gen_categorical_r_oracle.R tests/data > tests/data/categorical_r.csv
#
# Quantities: chi, chi_p, df, lrt, lrt_p (chisq.test without continuity correction and
# 2 sum n log(n/e)); expected, contribution (index i * (columns + 1) + j, margins included);
# fisher_p (exact, run for the tables whose id is listed in `exact`); stat (index row * 5 +
# column of the statistics table) for the rows that R's tests give: the Pearson and Spearman
# correlations (rows 5, 6) and, for 2 by 2 tables, the square of the Mantel-Haenszel z of the
# table counted as two identical strata (the statistic halves to (N - 1) r^2); the trend
# statistic of prop.trend.test (z^2 of row 17); Kruskal-Wallis both ways (18, 19); Bowker's
# and McNemar's tests (21, 22) with binom.test's exact p-value.
args <- commandArgs(trailingOnly = TRUE)
dir <- if (length(args) > 0) args[1] else "tests/data"
lines <- readLines(file.path(dir, "categorical_tables.csv"))
lines <- lines[!grepl("^#", lines) & nzchar(lines)][-1]
exact <- c(4, 6, 10, 13:25)   # the tables whose Fisher p-value is wanted
# Tables too large for fisher.test's default work space get a larger one.
workspace <- 2e8

out <- function(id, quantity, index, value) {
    cat(sprintf("%d,%s,%d,%.17g\n", id, quantity, index, value))
}

cat("# Written by tools/gen_categorical_r_oracle.R with ", R.version.string, ":\n", sep = "")
cat("#   Rscript tools/gen_categorical_r_oracle.R tests/data > tests/data/categorical_r.csv\n")
cat("id,quantity,index,value\n")
for (line in lines) {
    f <- strsplit(line, ",")[[1]]
    id <- as.integer(f[1]); r <- as.integer(f[3]); k <- as.integer(f[4])
    x <- matrix(as.numeric(strsplit(f[5], " ")[[1]]), r, k, byrow = TRUE)
    n <- sum(x)
    ct <- suppressWarnings(chisq.test(x, correct = FALSE))
    e <- ct$expected
    out(id, "chi", 0, ct$statistic)
    out(id, "chi_p", 0, ct$p.value)
    out(id, "df", 0, ct$parameter)
    g2 <- 2 * sum(ifelse(x > 0, x * log(x / e), 0))
    out(id, "lrt", 0, g2)
    out(id, "lrt_p", 0, pchisq(g2, ct$parameter, lower.tail = FALSE))
    full_e <- rbind(cbind(e, rowSums(x)), c(colSums(x), n))
    contrib <- ct$residuals^2
    full_c <- rbind(cbind(contrib, rowSums(contrib)), c(colSums(contrib), sum(contrib)))
    for (i in 0:r) for (j in 0:k) {
        out(id, "expected", i * (k + 1) + j, full_e[i + 1, j + 1])
        out(id, "contribution", i * (k + 1) + j, full_c[i + 1, j + 1])
    }
    if (id %in% exact) out(id, "fisher_p", 0, fisher.test(x, workspace = workspace)$p.value)

    # The table as observations: row and column indices repeated by their counts.
    rows <- rep(rep(1:r, times = k), times = as.vector(x))
    cols <- rep(rep(1:k, each = r), times = as.vector(x))
    out(id, "stat", 5 * 5, cor(rows, cols))
    out(id, "stat", 6 * 5, cor(rows, cols, method = "spearman"))
    if (r == 2 && k == 2) {
        m <- mantelhaen.test(array(c(x, x), c(2, 2, 2)), correct = FALSE)$statistic / 2
        out(id, "mantel_haenszel", 0, m)
    }
    if (r == 2) {
        out(id, "trend", 0, suppressWarnings(prop.trend.test(x[1, ], colSums(x)))$statistic)
    }
    kr <- kruskal.test(cols, factor(rows))
    out(id, "stat", 18 * 5, kr$statistic)
    out(id, "stat", 18 * 5 + 4, kr$p.value)
    kc <- kruskal.test(rows, factor(cols))
    out(id, "stat", 19 * 5, kc$statistic)
    out(id, "stat", 19 * 5 + 4, kc$p.value)
    if (r == k) {
        pairs <- x[upper.tri(x)] + t(x)[upper.tri(x)]
        if (all(pairs > 0)) {
            b <- mcnemar.test(x, correct = FALSE)
            out(id, "stat", 21 * 5, b$statistic)
            out(id, "stat", 21 * 5 + 1, b$parameter)
            out(id, "stat", 21 * 5 + 4, b$p.value)
        }
        above <- sum(x[upper.tri(x)]); below <- sum(t(x)[upper.tri(x)])
        if (above + below > 0) {
            pooled <- matrix(c(0, below, above, 0), 2)
            mc <- mcnemar.test(pooled, correct = FALSE)
            out(id, "stat", 22 * 5, mc$statistic)
            out(id, "stat", 22 * 5 + 3, binom.test(above, above + below)$p.value)
            out(id, "stat", 22 * 5 + 4, mc$p.value)
        }
    }
}
