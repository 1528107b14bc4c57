# The contestant in R, as contest.cpp: minimises the sum of weighted lp distances with ucminf.
#
#   Rscript ucminf.R file p        lines "x y w"
library(ucminf)
args <- commandArgs(TRUE)
s <- as.matrix(read.table(args[1])); x <- s[, 1]; y <- s[, 2]; w <- s[, 3]
p <- as.numeric(args[2])
f <- function(at) sum(w * (abs(at[1] - x)^p + abs(at[2] - y)^p)^(1 / p))
g <- function(at) {
  dx <- at[1] - x; dy <- at[2] - y
  q <- w * (abs(dx)^p + abs(dy)^p)^(1 / p - 1)
  c(sum(q * sign(dx) * abs(dx)^(p - 1)), sum(q * sign(dy) * abs(dy)^(p - 1)))
}
if (p == 2) {
  f <- function(at) sum(w * sqrt((at[1] - x)^2 + (at[2] - y)^2))
  g <- function(at) {
    q <- w / sqrt((at[1] - x)^2 + (at[2] - y)^2)
    c(sum(q * (at[1] - x)), sum(q * (at[2] - y)))
  }
}
start <- c(sum(w * x), sum(w * y)) / sum(w)
lines <- file("stdin", "r")
cat("ready\n"); flush(stdout())
while (length(line <- readLines(lines, 1)) > 0) {
  calls <- as.integer(line)
  from <- proc.time()
  for (j in seq_len(calls)) r <- ucminf(start, f, g)
  spent <- sum((proc.time() - from)[c("user.self", "sys.self")])
  cat(sprintf("%.9g %.17g\n", 1e3 * spent / calls, r$value)); flush(stdout())
}
