# The reference values of the linear regression tests: R's lm, anova, summary.lm,
# predict(..., interval = "confidence" / "prediction") and influence.measures on the
# Longley and Hald data of the shared reference data, unweighted and with weights.
#
#   Rscript tools/gen_regression_oracle.R ../shared/data/classic > tests/data/regression_r.csv
#
# One line per value: case,item,index,value. Indices count from 0; for the covariance
# matrix the index is row * p + column. The variance inflation factors are 1 / (1 - R_j^2)
# from the regression of each regressor on the others.
args <- commandArgs(trailingOnly = TRUE)
dir <- if (length(args) > 0) args[1] else "../shared/data/classic"
longley <- read.csv(file.path(dir, "longley.csv"))
hald <- read.csv(file.path(dir, "hald.csv"))

emit <- function(case, item, values) {
  for (i in seq_along(values))
    cat(sprintf("%s,%s,%d,%.17g\n", case, item, i - 1, values[[i]]))
}

describe_fit <- function(case, y, X, w = NULL) {
  d <- data.frame(y = y, X)
  fit <- if (is.null(w)) lm(y ~ ., data = d) else lm(y ~ ., data = d, weights = w)
  s <- summary(fit)
  a <- anova(fit)
  p <- length(coef(fit))
  n <- length(y)
  ww <- if (is.null(w)) rep(1, n) else w
  dfr <- p - 1
  dfe <- fit$df.residual
  sse <- sum(ww * residuals(fit)^2)
  ybar <- sum(ww * y) / sum(ww)
  sst <- sum(ww * (y - ybar)^2)
  ssr <- sst - sse
  fstat <- (ssr / dfr) / (sse / dfe)
  sigma <- sqrt(sse / dfe)
  emit(case, "anova", c(dfr, dfe, dfr + dfe, ssr, sse, sst, ssr / dfr, sse / dfe, fstat,
                        pf(fstat, dfr, dfe, lower.tail = FALSE), 100 * s$r.squared,
                        100 * s$adj.r.squared, sigma, ybar, 100 * sigma / ybar))
  emit(case, "sequential_ss", a[["Sum Sq"]][seq_len(dfr)])
  emit(case, "coef", coef(fit))
  emit(case, "se", s$coefficients[, 2])
  emit(case, "t", s$coefficients[, 3])
  emit(case, "p", s$coefficients[, 4])
  emit(case, "cov", t(vcov(fit)))
  vif <- sapply(seq_len(ncol(X)), function(j) {
    r2 <- summary(lm(X[, j] ~ as.matrix(X[, -j]), weights = ww))$r.squared
    1 / (1 - r2)
  })
  emit(case, "vif", vif)
  im <- influence.measures(fit)
  emit(case, "fitted", fitted(fit))
  emit(case, "residual", residuals(fit))
  emit(case, "leverage", hatvalues(fit))
  emit(case, "standardized", rstandard(fit))
  emit(case, "deleted", rstudent(fit))
  emit(case, "cooksd", cooks.distance(fit))
  emit(case, "dffits", dffits(fit))
  conf <- suppressWarnings(predict(fit, interval = "confidence", level = 0.95, weights = ww))
  pred <- suppressWarnings(predict(fit, newdata = d, interval = "prediction", level = 0.95, weights = ww))
  emit(case, "mean_lower", conf[, 2])
  emit(case, "mean_upper", conf[, 3])
  emit(case, "new_lower", pred[, 2])
  emit(case, "new_upper", pred[, 3])
  se_fit <- predict(fit, se.fit = TRUE)$se.fit
  band <- sqrt(p * qf(0.95, p, dfe)) * se_fit
  emit(case, "scheffe_lower", fitted(fit) - band)
  emit(case, "scheffe_upper", fitted(fit) + band)
  emit(case, "t_quantile", qt(0.975, dfe))
  emit(case, "f_quantile", qf(0.95, p, dfe))
  invisible(im)
}

cat("# R ", R.version$major, ".", R.version$minor, ": lm, anova, summary.lm, predict, influence.measures\n", sep = "")
cat("# Rscript tools/gen_regression_oracle.R ../shared/data/classic > tests/data/regression_r.csv\n")
cat("case,item,index,value\n")
describe_fit("longley", longley$y, longley[, 2:7])
describe_fit("hald", hald$y, hald[, 1:4])
# Weights 1, 2, 3, 1, 2, 3, ... on the Hald data.
describe_fit("hald_weighted", hald$y, hald[, 1:4], w = rep(c(1, 2, 3), length.out = nrow(hald)))
