DECLARE @d decimal(38,10) = 12345678901234567890.1234567891, @m money = $922337203685477.5807, @s smallmoney = -214748.3648
SET @d = @d * @d / 0.0000000003 % 7.5
SET @m = @m / 3 * 2 + 1
PRINT CONVERT(varchar(40), @m, 1) + CAST(ROUND(@d, -5, 1) AS varchar(50)) + CAST(CEILING(-@s) AS varchar)
IF @d > 1.5 AND -@m < 0 PRINT CAST('1.5E3' AS decimal(9,2))
CREATE TABLE Amounts (a decimal(5,2), b money)
INSERT INTO Amounts VALUES (999.995, '$1,234.5'), (-0.005, 1e10)
SELECT SUM(a), AVG(b), MAX(a * b), a / 0.0 FROM Amounts
