SET DATEFORMAT dmy
SET LANGUAGE British
SET DATEFIRST 3
DECLARE @d datetime = '31/12/2008 23:59:59.999', @t varchar(40) = 'Jul 4 1996 2:30PM'
SELECT CONVERT(varchar(30), @d, 109), CONVERT(datetime, '2019.08.23', 102), TRY_CONVERT(date, @t), TRY_CAST('x' AS datetime2),
  PARSE('Monday, 13 December 2010' AS datetime2 USING 'en-GB'), DATEPART(iso_week, @d), DATENAME(dw, @d),
  DATEADD(ns, 999999999, @d), DATEDIFF_BIG(ns, '0001-01-01', '9999-12-31'), EOMONTH(@d, -12),
  DATETIME2FROMPARTS(2024, 1, 2, 3, 4, 5, 5, 7), TIMEFROMPARTS(1, 2, 3, 4, 5), ISDATE('1996 JULY 4 4 PM'),
  FORMAT(@d, 'dddd, MMMM d yyyy HH:mm:ss.fff tt', 'de-DE'), FORMAT(-1234.5678, '#,##0.00;(#,##0.00)'), FORMAT(1e300, 'E3')
SELECT HASHBYTES('MD2', N'abc'), CHECKSUM(1, 'a', NULL), STR(1e300, 20, 16), STUFF('abc', 1, 99, 'x'),
  QUOTENAME('a]b'), PATINDEX('%[^a-c]_%', 'abcxyz'), SOUNDEX('Ashcraft'), NCHAR(65535), CHAR(150),
  FORMATMESSAGE('%s %d %*d', 'a', 1, 5, 2), SQRT(2), LOG(2, 8)
