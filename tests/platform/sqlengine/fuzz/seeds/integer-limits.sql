CREATE TABLE L (i int, s smallint, t tinyint, b bigint)
INSERT INTO L VALUES (2147483647, 32767, 255, 9223372036854775807), (-2147483648, -32768, 0, -9223372036854775808)
SELECT i + 1, -i, i * -1, i / -1, i % -1, b + 1, -b, b / -1, b % -1 FROM L
SELECT CAST(b AS int), CAST(i AS tinyint), CAST(1e300 AS bigint), CAST(-9.3e18 AS bigint), CAST('-99999999999999999999' AS int) FROM L
SELECT TRY_CAST(b AS smallint), TRY_CONVERT(tinyint, '256'), CAST(' 7 ' AS bigint) * 2147483647 * 2147483647 FROM L
UPDATE L SET t = t + 1, s = s - 1
INSERT INTO L (i) SELECT b FROM L
DECLARE @m bigint = -9223372036854775807 - 1
SELECT -@m, @m / -1, @m % -1, @m - 1
