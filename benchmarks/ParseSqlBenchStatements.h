#pragma once

// Queries in plain SQL that both sides of ParseSqlBench compile, by length, and the tables they need. They are written
// for their shapes: what programs send all day, reports, and reports over everything.

inline constexpr const char* BENCH_TABLES[] = {
    "create table customer (c_id int, c_name varchar(40), c_city varchar(30), c_region int, c_balance decimal(12, 2), "
    "c_since date, c_segment varchar(10))",
    "create table supplier (s_id int, s_name varchar(40), s_city varchar(30), s_region int, s_rating int)",
    "create table product (p_id int, p_name varchar(60), p_brand varchar(20), p_kind varchar(20), p_price decimal(12, "
    "2), p_weight double)",
    "create table purchase (o_id int, o_customer int, o_date date, o_state varchar(10), o_amount decimal(12, 2), "
    "o_clerk int)",
    "create table item (l_purchase int, l_product int, l_supplier int, l_no int, l_quantity int, l_price decimal(12, "
    "2), l_discount decimal(4, 2), l_shipped date)",
    "create table stock (k_product int, k_depot int, k_quantity int, k_cost decimal(12, 2))",
    "create table depot (w_id int, w_name varchar(40), w_city varchar(30), w_region int)",
    "create table area (r_id int, r_name varchar(30), r_country varchar(30))",
    "create table payment (y_id int, y_purchase int, y_amount decimal(12, 2), y_paid date, y_method varchar(10))",
    "create table employee (e_id int, e_name varchar(40), e_boss int, e_region int, e_salary decimal(12, 2))",
};

inline constexpr const char* BENCH_SHORT[] = {
    "select e_name from employee",
    "select c_name from customer where c_id = 17",
    "select * from product where p_id = ?",
    "select count(*) from purchase",
    "select c_id, c_name from customer order by c_name",
    "select max(o_amount) from purchase where o_customer = 4711",
    "select distinct p_brand from product",
    "select p_name, p_price * 1.19 from product where p_kind = 'tool'",
    "select s_name from supplier where s_rating >= 3 and s_region = 2",
    "select e_name from employee where e_boss is null",
    "select w_name from depot where w_city in ('Oslo', 'Rome', 'Bonn')",
    "select o_id from purchase where o_amount between 10 and 99.95",
    "select c_name from customer where c_name like 'Mc%'",
    "select upper(r_name), lower(r_country) from area",
    "select y_method, sum(y_amount) from payment group by y_method",
    "select abs(c_balance) from customer where not c_balance > 0",
    "select k_quantity - ? from stock where k_product = ? and k_depot = ?",
    "select e_salary / 12 from employee where e_id <> 1 order by e_salary desc",
    "select nullif(l_discount, 0) from item where l_purchase = 31 and l_no = 4",
    "select o_state from purchase where o_clerk = 7 or o_clerk = 9",
};

inline constexpr const char* BENCH_MEDIUM[] = {
    "select c.c_name, o.o_id, o.o_amount from customer c join purchase o on o.o_customer = c.c_id where o.o_state = "
    "'open' and o.o_amount > 1000 order by o.o_amount desc, c.c_name",
    "select c.c_city, count(*), sum(o.o_amount) from customer c left join purchase o on o.o_customer = c.c_id group "
    "by c.c_city having count(*) > 10 order by 3 desc",
    "select p_name, p_price, round(p_price * 1.19 - 10, 2) + nullif(abs(p_weight - 100), 0) from product where p_kind "
    "in ('tool', 'toy', 'book', 'lamp') order by p_price",
    "select o_id from purchase o where exists (select 1 from item l where l.l_purchase = o.o_id and l.l_quantity > "
    "50) and o.o_date >= '2024-01-01'",
    "select c_name from customer where c_id in (select o_customer from purchase where o_amount > (select "
    "avg(o_amount) from purchase)) order by c_name",
    "select p.p_name, s.s_name, l.l_price from item l, product p, supplier s where l.l_product = p.p_id and "
    "l.l_supplier = s.s_id and p.p_weight > 2.5 and s.s_city = 'Lima'",
    "select e.e_name, b.e_name, e.e_salary - b.e_salary from employee e left join employee b on e.e_boss = b.e_id "
    "where e.e_salary > b.e_salary or b.e_id is null",
    "select c_name, c_city from customer where c_balance < 0 union select s_name, s_city from supplier where s_rating "
    "< 2 union all select w_name, w_city from depot order by 2, 1",
    "select l_purchase, sum(l_price * l_quantity * (1 - l_discount)), count(l_product), min(l_shipped) from item "
    "where l_shipped between '2024-01-01' and '2024-06-30' group by l_purchase",
    "select k.k_depot, sum(k.k_quantity * k.k_cost) from stock k join depot w on w.w_id = k.k_depot where w.w_region "
    "= ? group by k.k_depot having sum(k.k_quantity * k.k_cost) > ?",
    "select x.city, x.total from (select c_city city, sum(c_balance) total from customer group by c_city) x where "
    "x.total > 100000 or x.city like '%burg' order by x.total desc",
    "select o.o_id, (select count(*) from item l where l.l_purchase = o.o_id), (select sum(y_amount) from payment "
    "where y_purchase = o.o_id) from purchase o where o.o_state <> 'done'",
    "select upper(ltrim(c_name)), round(c_balance * 1.05, 2), nullif(c_segment, 'none') from customer where "
    "lower(c_city) = 'kyoto' and c_since is not null and c_balance + 10 >= 20 * 3 - 5",
    "select r.r_name, count(*) from area r join customer c on c.c_region = r.r_id join supplier s on s.s_region = "
    "r.r_id where c.c_city = s.s_city group by r.r_name order by count(*) desc",
    "select p_brand, avg(p_price), max(p_price), min(p_price) from product where p_name not like '%old%' and p_kind "
    "not in ('scrap', 'sample') group by p_brand having avg(p_price) between 5 and 500",
    "select y.y_id, o.o_id from payment y inner join purchase o on o.o_id = y.y_purchase and o.o_amount <> y.y_amount "
    "where y.y_paid < o.o_date and (y.y_method = 'cash' or y.y_method = 'card')",
    "select c.c_id, c.c_name from customer c where not exists (select 1 from purchase o where o.o_customer = c.c_id) "
    "and c.c_since < '2020-01-01' and c.c_segment is null order by c.c_id",
    "select o_clerk, sum(nullif(o_amount, 0) * 2 + round(o_amount * 1.19, 2)), sum(abs(o_amount - 100) * 2 + "
    "nullif(o_clerk, 7)) from purchase group by o_clerk order by o_clerk",
    "select distinct p.p_brand, p.p_kind from product p join stock k on k.k_product = p.p_id where k.k_quantity = 0 "
    "and p.p_price * (1 + 0.19) > 100 and p.p_weight / 1000 < 0.5 order by p.p_brand, p.p_kind",
    "select e_region, count(*), avg(e_salary) from employee where e_boss in (select e_id from employee where e_boss "
    "is null) group by e_region having avg(e_salary) > 3000 order by avg(e_salary) desc",
};

inline constexpr const char* BENCH_LONG[] = {
    // All tables joined.
    "select r.r_country, r.r_name, c.c_name, o.o_id, o.o_date, p.p_name, p.p_brand, s.s_name, w.w_name, e.e_name, "
    "y.y_method, l.l_quantity * l.l_price * (1 - l.l_discount) net from customer c join area r on r.r_id = c.c_region "
    "join purchase o on o.o_customer = c.c_id join item l on l.l_purchase = o.o_id join product p on p.p_id = "
    "l.l_product join supplier s on s.s_id = l.l_supplier join stock k on k.k_product = p.p_id join depot w on w.w_id "
    "= k.k_depot join employee e on e.e_id = o.o_clerk join payment y on y.y_purchase = o.o_id where o.o_state in "
    "('open', 'paid', 'sent') and o.o_date between '2023-01-01' and '2023-12-31' and l.l_quantity > 5 and p.p_price "
    ">= (select avg(p_price) from product) and s.s_rating > 2 and not exists (select 1 from payment z where "
    "z.y_purchase = o.o_id and z.y_paid is null) and c.c_id in (select o_customer from purchase group by o_customer "
    "having count(*) > 3) order by r.r_country, r.r_name, net desc",
    // The same, grouped.
    "select r.r_country, p.p_kind, w.w_city, count(*), count(c.c_id), sum(l.l_quantity), sum(l.l_quantity * l.l_price "
    "* (1 - l.l_discount)), avg(l.l_discount), min(o.o_date), max(o.o_date) from customer c join area r on r.r_id = "
    "c.c_region join purchase o on o.o_customer = c.c_id join item l on l.l_purchase = o.o_id join product p on "
    "p.p_id = l.l_product join supplier s on s.s_id = l.l_supplier left join stock k on k.k_product = p.p_id left "
    "join depot w on w.w_id = k.k_depot left join employee e on e.e_id = o.o_clerk left join payment y on "
    "y.y_purchase = o.o_id and y.y_method <> 'cash' where o.o_amount > 100 and (c.c_segment = 'large' or c.c_segment "
    "= 'public' or c.c_balance > 50000) and e.e_salary < (select max(e_salary) from employee where e_region = "
    "c.c_region) group by r.r_country, p.p_kind, w.w_city having sum(l.l_quantity) > 100 and count(c.c_id) >= 5 order "
    "by 7 desc, r.r_country, p.p_kind",
    "select x.name, x.city, x.total, y.total, x.total - y.total from (select c.c_id id, c.c_name name, c.c_city city, "
    "sum(o.o_amount) total from customer c join purchase o on o.o_customer = c.c_id where o.o_date >= '2023-01-01' "
    "and o.o_state <> 'void' group by c.c_id, c.c_name, c.c_city) x join (select o.o_customer id, sum(y.y_amount) "
    "total from purchase o join payment y on y.y_purchase = o.o_id where y.y_paid >= '2023-01-01' and y.y_method in "
    "('card', 'wire', 'cash') group by o.o_customer) y on x.id = y.id where x.total > y.total and x.city not in "
    "(select w_city from depot where w_region in (select r_id from area where r_country = 'Peru')) order by 5 desc, "
    "x.name",
    "select p.p_id, p.p_name, p.p_brand, p.p_price, (select sum(k_quantity) from stock where k_product = p.p_id), "
    "(select sum(l_quantity) from item where l_product = p.p_id and l_shipped >= '2024-01-01'), (select count(*) from "
    "supplier s where exists (select 1 from item l where l.l_supplier = s.s_id and l.l_product = p.p_id)), "
    "round(p.p_price * 1.19 - 10, 2) + nullif(abs(p.p_price - 50), 0) * abs(p.p_price - 250) / nullif(p.p_price, "
    "1000), nullif(p.p_weight, 0) * 1.1 + 0.5 from product p where p.p_kind in ('tool', 'toy', 'book', 'lamp', "
    "'desk', 'door') and p.p_name not like '%used%' and p.p_name not like 'old%' and (p.p_weight is null or "
    "p.p_weight between 0.1 and 25) order by p.p_brand, p.p_price desc",
    "select c_name who, c_city town, 'customer' place, c_balance worth from customer where c_balance > 1000 and "
    "c_since < '2015-01-01' union all select s_name, s_city, 'supplier', s_rating * 1000 from supplier where s_rating "
    ">= 4 and s_region in (1, 2, 3, 5, 8, 13) union all select w_name, w_city, 'depot', (select sum(k_quantity * "
    "k_cost) from stock where k_depot = w_id) from depot where w_region not in (select r_id from area where r_country "
    "like 'N%') union all select e.e_name, r.r_name, 'employee', e.e_salary * 12 from employee e join area r on "
    "r.r_id = e.e_region where e.e_boss is not null and e.e_salary between 2000 and 9000 order by 3, 4 desc, 1",
    "select o.o_clerk, sum(round(o.o_amount * 1.31, 2) - nullif(o.o_clerk, 1) * abs(o.o_amount - 31)), "
    "sum(round(o.o_amount * 2.29, 2) - nullif(o.o_clerk, 2) * abs(o.o_amount - 29)), sum(round(o.o_amount * 3.31, 2) "
    "- nullif(o.o_clerk, 3) * abs(o.o_amount - 31)), sum(round(o.o_amount * 4.30, 2) - nullif(o.o_clerk, 4) * "
    "abs(o.o_amount - 30)), sum(round(o.o_amount * 5.31, 2) - nullif(o.o_clerk, 5) * abs(o.o_amount - 31)), "
    "sum(round(o.o_amount * 6.30, 2) - nullif(o.o_clerk, 6) * abs(o.o_amount - 30)), sum(o.o_amount), count(*) from "
    "purchase o join employee e on e.e_id = o.o_clerk where e.e_region = 4 and o.o_state <> 'void' group by o.o_clerk "
    "having sum(o.o_amount) > 0 order by 8 desc",
    "select c.c_id, c.c_name, c.c_city, c.c_region, c.c_balance, c.c_since, c.c_segment, o.o_id, o.o_date, o.o_state, "
    "o.o_amount, o.o_clerk, l.l_no, l.l_product, l.l_supplier, l.l_quantity, l.l_price, l.l_discount, l.l_shipped "
    "from customer c, purchase o, item l where c.c_id = o.o_customer and o.o_id = l.l_purchase and c.c_region = 7 and "
    "o.o_state = 'open' and l.l_shipped is null and l.l_quantity * l.l_price > 250.00 and (o.o_amount > 1000 or "
    "c.c_balance < 0 or l.l_discount > 0.25) and c.c_name <> 'Smith' and c.c_city in ('Oslo', 'Bonn', 'Rome', 'Lima', "
    "'Kyoto', 'Quito', 'Dakar', 'Porto', 'Turin', 'Basel') order by c.c_name, o.o_date desc, l.l_no",
    "select e.e_id, e.e_name, b1.e_name, b2.e_name, b3.e_name, b4.e_name, nullif(nullif(nullif(nullif(b4.e_salary, "
    "b3.e_salary), b2.e_salary), b1.e_salary), 0) - e.e_salary from employee e left join employee b1 on b1.e_id = "
    "e.e_boss left join employee b2 on b2.e_id = b1.e_boss left join employee b3 on b3.e_id = b2.e_boss left join "
    "employee b4 on b4.e_id = b3.e_boss left join area r on r.r_id = e.e_region where r.r_country in ('Chile', "
    "'Ghana', 'Japan', 'Spain') and e.e_salary > (select avg(x.e_salary) from employee x where x.e_region = "
    "e.e_region) and (b1.e_region <> e.e_region or b2.e_region <> b1.e_region or b3.e_region is null) order by "
    "e.e_name, b1.e_name, b2.e_name",
    "select w.w_name, p.p_kind, sum(k.k_quantity), sum(k.k_quantity * k.k_cost), sum(k.k_quantity * p.p_price), "
    "sum(k.k_quantity * p.p_price) - sum(k.k_quantity * k.k_cost), round(100 * (sum(k.k_quantity * p.p_price) - "
    "sum(k.k_quantity * k.k_cost)) / sum(k.k_quantity * k.k_cost), 1) from stock k join product p on p.p_id = "
    "k.k_product join depot w on w.w_id = k.k_depot join area r on r.r_id = w.w_region where k.k_quantity > 0 and "
    "k.k_cost > 0 and p.p_price > 0 and r.r_country <> 'Malta' and p.p_brand in (select x.p_brand from product x "
    "group by x.p_brand having count(*) > 20 and avg(x.p_price) < 100) group by w.w_name, p.p_kind having "
    "sum(k.k_quantity) > 1000 order by 6 desc, w.w_name, p.p_kind",
    "select a.r_country, a.turnover, b.turnover, a.turnover / b.turnover from (select r.r_country, sum(o.o_amount) "
    "turnover from purchase o join customer c on c.c_id = o.o_customer join area r on r.r_id = c.c_region where "
    "o.o_date between '2024-01-01' and '2024-12-31' group by r.r_country) a left join (select r.r_country, "
    "sum(o.o_amount) turnover from purchase o join customer c on c.c_id = o.o_customer join area r on r.r_id = "
    "c.c_region where o.o_date between '2023-01-01' and '2023-12-31' group by r.r_country) b on b.r_country = "
    "a.r_country where a.turnover > 10000 and (b.turnover is null or a.turnover > b.turnover * 1.1 or a.turnover < "
    "b.turnover * 0.9) and a.r_country not like 'X%' order by 4 desc, a.r_country",
    "select o_id from purchase where o_id in (1, 2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37, 41, 43, 47, 53, 59, 61, "
    "67, 71, 73, 79, 83, 89, 97, 101, 103, 107, 109, 113, 127, 131, 137, 139, 149, 151, 157, 163, 167, 173, 179, 181, "
    "191, 193, 197, 199, 211, 223, 227, 229, 233, 239, 241, 251, 257, 263, 269, 271, 277, 281, 283, 293, 307, 311, "
    "313, 317, 331, 337, 347, 349, 353, 359, 367, 373, 379, 383, 389, 397, 401, 409, 419, 421, 431, 433, 439, 443, "
    "449, 457, 461, 463, 467, 479, 487, 491, 499, 503, 509, 521, 523, 541) and o_state in ('open', 'paid', 'sent', "
    "'back', 'lost', 'void', 'done') and o_clerk not in (4, 6, 8, 9, 10, 12, 14, 15, 16, 18, 20, 21, 22, 24, 25, 26) "
    "and o_amount in (9.95, 19.95, 29.95, 39.95, 49.95, 99.95)",
    "select l.l_purchase, l.l_no, l.l_quantity, l.l_price, l.l_quantity * l.l_price, l.l_quantity * l.l_price * "
    "l.l_discount, l.l_quantity * l.l_price - l.l_quantity * l.l_price * l.l_discount, (l.l_quantity * l.l_price - "
    "l.l_quantity * l.l_price * l.l_discount) * 0.19, (l.l_quantity * l.l_price - l.l_quantity * l.l_price * "
    "l.l_discount) * 1.19, round((l.l_quantity * l.l_price - l.l_quantity * l.l_price * l.l_discount) * 1.19 / "
    "l.l_quantity, 2), abs(l.l_price - p.p_price) / p.p_price * 100 from item l join product p on p.p_id = "
    "l.l_product where (l.l_quantity + 1) * (l.l_price - 0.5) > (l.l_discount + 0.01) * (p.p_price + 100) and "
    "((l.l_no - 1) * 3 + 2) / 4 < 25 and -l.l_quantity < -(2 + 3) * 4 and (p.p_weight * 2 - 1) * (p.p_weight * 2 + 1) "
    ">= 0 order by 5, 7",
    "select c.c_segment, upper(ltrim(c.c_city)), count(*), sum(abs(c.c_balance) * 2), sum(round(abs(c.c_balance - "
    "1000) * 1.5, 1)), sum(nullif(c.c_balance, 1000) + 1), max(lower(c.c_name)), max(nullif(c.c_balance, 0)), "
    "min(nullif(c.c_balance, 0)) from customer c where c.c_id not in (select o.o_customer from purchase o where "
    "o.o_state = 'void' or o.o_amount < 0) and exists (select 1 from area r where r.r_id = c.c_region and r.r_country "
    "in ('Chile', 'Ghana', 'Japan') and exists (select 1 from depot w where w.w_region = r.r_id and exists (select 1 "
    "from stock k where k.k_depot = w.w_id and k.k_quantity > 10))) group by c.c_segment, upper(ltrim(c.c_city)) "
    "having count(*) > 2 order by 1, 2",
    "select s.s_id, s.s_name, s.s_rating, t.parts, t.pieces, t.worth from supplier s join (select l.l_supplier id, "
    "count(l.l_product) parts, sum(l.l_quantity) pieces, sum(l.l_quantity * l.l_price) worth from item l join "
    "purchase o on o.o_id = l.l_purchase where o.o_date >= '2022-07-01' and o.o_date < '2023-07-01' and l.l_shipped "
    "is not null and l.l_discount < 0.5 group by l.l_supplier having sum(l.l_quantity * l.l_price) > 100) t on t.id = "
    "s.s_id where t.worth >= (select max(u.worth) * 0.8 from (select sum(l.l_quantity * l.l_price) worth from item l "
    "join purchase o on o.o_id = l.l_purchase where o.o_date >= '2022-07-01' and o.o_date < '2023-07-01' group by "
    "l.l_supplier) u) and s.s_city <> 'Bonn' order by t.worth desc, s.s_name",
    "select o.o_id, o.o_date, c.c_name, c.c_city from purchase o join customer c on c.c_id = o.o_customer where "
    "((o.o_state = 'open' and o.o_amount > 100) or (o.o_state = 'paid' and o.o_amount > 200) or (o.o_state = 'sent' "
    "and o.o_amount > 300) or (o.o_state = 'back' and o.o_amount > 400)) and ((c.c_city = 'Oslo' and c.c_segment = "
    "'small') or (c.c_city = 'Bonn' and c.c_segment = 'large') or (c.c_city = 'Rome' and (c.c_segment = 'public' or "
    "c.c_segment = 'large')) or (not c.c_city = 'Lima' and not (c.c_segment = 'small' and c.c_balance < 0))) and "
    "(o.o_clerk = 1 or o.o_clerk = 2 or o.o_clerk = 3 or (o.o_clerk > 10 and o.o_clerk < 20) or (o.o_clerk between 30 "
    "and 40 and o.o_clerk <> 35)) and (o.o_date > '2024-01-01' or (o.o_date > '2023-01-01' and o.o_amount > 5000)) "
    "order by o.o_date desc, o.o_id",
    "select p.p_kind, p.p_brand, count(*), sum(l.l_quantity) from product p left join item l on l.l_product = p.p_id "
    "and l.l_shipped >= '2024-01-01' and l.l_discount < (select avg(l_discount) from item where l_product = p.p_id) "
    "left join purchase o on o.o_id = l.l_purchase and o.o_state <> 'void' left join customer c on c.c_id = "
    "o.o_customer and c.c_segment in ('large', 'public') left join area r on r.r_id = c.c_region left join supplier s "
    "on s.s_id = l.l_supplier and s.s_region = r.r_id where p.p_price > 1 and (s.s_id is null or s.s_rating > 1) and "
    "(c.c_id is not null or r.r_id is null) group by p.p_kind, p.p_brand having count(*) > 1 and (sum(l.l_quantity) > "
    "10 or sum(l.l_quantity) is null) order by p.p_kind, 4 desc, p.p_brand",
    "select x1.r_name, x1.n, x2.n, x3.n from (select r.r_id, r.r_name, count(*) n from area r join customer c on "
    "c.c_region = r.r_id group by r.r_id, r.r_name) x1 left join (select s_region, count(*) n from supplier where "
    "s_rating in (select max(s_rating) from supplier where s_city = 'Rome' group by s_region) group by s_region) "
    "x2 on x2.s_region = x1.r_id left join (select e_region, count(*) n from employee where e_salary > (select "
    "avg(e_salary) from employee) group by e_region) x3 on x3.e_region = x1.r_id where x1.n > 10 and (x2.n is null or "
    "x2.n < x1.n) and nullif(x3.n, 0) <= x1.n / 2 and x1.r_name not in (select w_name from depot where w_region = "
    "x1.r_id) order by x1.n desc, x1.r_name",
    "select 'day' unit, o_date key1, sum(o_amount), count(*) from purchase where o_date between '2024-05-01' and "
    "'2024-05-31' and o_state = 'done' group by o_date union all select 'clerk', e.e_name, sum(o.o_amount), count(*) "
    "from purchase o join employee e on e.e_id = o.o_clerk where o.o_date between '2024-05-01' and '2024-05-31' and "
    "o.o_state = 'done' group by e.e_name union all select 'city', c.c_city, sum(o.o_amount), count(*) from purchase "
    "o join customer c on c.c_id = o.o_customer where o.o_date between '2024-05-01' and '2024-05-31' and o.o_state = "
    "'done' group by c.c_city union all select 'brand', p.p_brand, sum(l.l_quantity * l.l_price), count(*) from "
    "purchase o join item l on l.l_purchase = o.o_id join product p on p.p_id = l.l_product where o.o_date between "
    "'2024-05-01' and '2024-05-31' and o.o_state = 'done' group by p.p_brand order by 1, 3 desc",
    "select y.y_method, count(*), sum(y.y_amount), avg(y.y_amount), sum(y.y_amount) * 100 / (select sum(y_amount) "
    "from payment where y_paid is not null), max(o.o_amount - y.y_amount), min(o.o_amount - y.y_amount) from payment "
    "y join purchase o on o.o_id = y.y_purchase join customer c on c.c_id = o.o_customer join area r on r.r_id = "
    "c.c_region where y.y_paid is not null and y.y_paid >= o.o_date and y.y_amount <> 0 and lower(y.y_method) not in "
    "('test', 'none', 'void') and (select count(*) from payment z where z.y_purchase = o.o_id) = 1 and (select "
    "count(*) from item l where l.l_purchase = o.o_id and l.l_discount > 0.3) = 0 and r.r_country like '%LAND' "
    "group by y.y_method having count(*) >= 100 order by 3 desc",
    "select t1.c_id, t1.c_name, t2.c_id, t2.c_name, t1.c_city, t1.c_balance - t2.c_balance from customer t1 join "
    "customer t2 on t1.c_city = t2.c_city and t1.c_region = t2.c_region and t1.c_id < t2.c_id where ltrim(t1.c_name) "
    "= ltrim(t2.c_name) and abs(t1.c_balance - t2.c_balance) <= 2 and lower(t1.c_name) <> lower(t2.c_name) and "
    "nullif(t1.c_segment, '-') = nullif(t2.c_segment, '-') and not exists (select 1 from purchase o1 join purchase o2 "
    "on o1.o_date = o2.o_date and o1.o_amount = o2.o_amount where o1.o_customer = t1.c_id and o2.o_customer = t2.c_id "
    "and o1.o_id <> o2.o_id) and (t1.c_balance between -100 and 100 or t2.c_balance between -100 and 100 or "
    "t1.c_since = t2.c_since) order by t1.c_city, t1.c_name, t2.c_name",
};
